#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the application icon of cascade-host: a master controller linked to
two slaves, white on a blue rounded square, N x N pixels (64 by default; the
shapes are laid out on a 64 x 64 grid and scaled). Standard library only.

Usage: scripts/draw-host-icon.py [--size N] OUTPUT.png
       scripts/draw-host-icon.py OUTPUT.svg   (the same icon, scalable)
       (the checked-in icons are host/resources/cascade-host.png, 64 x 64,
       which the icon theme uses too, and packaging/icons/<N>x<N>/cascade-host.png
       for its other sizes:
       for n in 16 22 24 32 48 128 256; do
           scripts/draw-host-icon.py --size $n packaging/icons/${n}x${n}/cascade-host.png; done
       and packaging/icons/scalable/cascade-host.svg)
"""
import math
import struct
import sys
import zlib

GRID = 64  # the shapes below are in units of a 64 x 64 icon
SAMPLES = 4  # supersampling per axis, for smooth edges


def rounded_rect(px, py, x0, y0, x1, y1, r):
    if not (x0 <= px <= x1 and y0 <= py <= y1):
        return False
    cx = min(max(px, x0 + r), x1 - r)
    cy = min(max(py, y0 + r), y1 - r)
    return (px - cx) ** 2 + (py - cy) ** 2 <= r * r


def colour_at(px, py):
    """(r, g, b, a) of the topmost shape under the point, or None."""
    # Links: master down to a bar, the bar down to each slave.
    if 30.5 <= px <= 33.5 and 23 <= py <= 33.5:
        return (255, 255, 255, 255)
    if 14.5 <= px <= 49.5 and 30.5 <= py <= 33.5:
        return (255, 255, 255, 255)
    if (14.5 <= px <= 17.5 or 46.5 <= px <= 49.5) and 30.5 <= py <= 41:
        return (255, 255, 255, 255)
    # Master: a box with a green status light.
    if math.hypot(px - 37, py - 16.5) <= 2.2:
        return (80, 200, 120, 255)
    if rounded_rect(px, py, 20, 9, 44, 24, 3):
        return (250, 252, 255, 255)
    # Two slaves.
    for x0 in (5, 35):
        if rounded_rect(px, py, x0, 40, x0 + 24, 53, 3):
            if 45 <= py <= 49 and x0 + 5 <= px <= x0 + 19 and (px - x0 - 5) % 3.5 < 1.5:
                return (120, 150, 180, 255)  # vents
            return (222, 232, 242, 255)
    # Background: blue rounded square, lighter at the top.
    if rounded_rect(px, py, 1, 1, 63, 63, 11):
        t = py / GRID
        return (int(40 - 14 * t), int(118 - 36 * t), int(178 - 40 * t), 255)
    return None


def render(size):
    scale = GRID / size
    rows = []
    for y in range(size):
        row = bytearray(b"\x00")  # PNG filter: none
        for x in range(size):
            acc = [0, 0, 0, 0]
            for sy in range(SAMPLES):
                for sx in range(SAMPLES):
                    c = colour_at((x + (sx + 0.5) / SAMPLES) * scale, (y + (sy + 0.5) / SAMPLES) * scale)
                    if c:
                        for i in range(3):
                            acc[i] += c[i] * c[3]
                        acc[3] += c[3]
            n = SAMPLES * SAMPLES
            if acc[3]:
                row += bytes((acc[0] // acc[3], acc[1] // acc[3], acc[2] // acc[3], acc[3] // n))
            else:
                row += b"\x00\x00\x00\x00"
        rows.append(bytes(row))
    return b"".join(rows)


def png(raw, size):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)  # 8-bit RGBA
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b"")


def svg():
    """The same shapes as colour_at, bottom first, as a scalable icon."""
    def rect(x0, y0, x1, y1, fill, r=0):
        return '<rect x="%g" y="%g" width="%g" height="%g" rx="%g" fill="%s"/>' % (x0, y0, x1 - x0, y1 - y0, r, fill)

    shapes = [rect(1, 1, 63, 63, "url(#bg)", 11)]
    for x0 in (5, 35):
        shapes.append(rect(x0, 40, x0 + 24, 53, "#dee8f2", 3))
        shapes += [rect(x0 + 5 + 3.5 * i, 45, x0 + 6.5 + 3.5 * i, 49, "#7896b4") for i in range(4)]
    shapes.append(rect(20, 9, 44, 24, "#fafcff", 3))
    shapes.append('<circle cx="37" cy="16.5" r="2.2" fill="#50c878"/>')
    shapes += [rect(30.5, 23, 33.5, 33.5, "#fff"), rect(14.5, 30.5, 49.5, 33.5, "#fff"),
               rect(14.5, 30.5, 17.5, 41, "#fff"), rect(46.5, 30.5, 49.5, 41, "#fff")]
    return ('<!-- SPDX-License-Identifier: MIT -->\n'
            '<svg xmlns="http://www.w3.org/2000/svg" width="64" height="64" viewBox="0 0 64 64">\n'
            '<defs><linearGradient id="bg" x1="0" y1="0" x2="0" y2="64" gradientUnits="userSpaceOnUse">'
            '<stop offset="0" stop-color="#2876b2"/><stop offset="1" stop-color="#1a528a"/></linearGradient></defs>\n'
            + "\n".join(shapes) + "\n</svg>\n").encode()


def main(argv):
    if len(argv) == 2 and argv[1] in ("-h", "--help"):
        print(__doc__.strip())
        return 0
    args = argv[1:]
    size = GRID
    if len(args) == 3 and args[0] == "--size":
        if not args[1].isdigit() or not 16 <= int(args[1]) <= 1024:
            sys.stderr.write("draw-host-icon.py: --size takes a number of pixels from 16 to 1024, not '%s'\n" % args[1])
            return 2
        size = int(args[1])
        args = args[2:]
    if len(args) != 1 or args[0].startswith("-"):
        sys.stderr.write("draw-host-icon.py: expected [--size N] and one output file, e.g. host/resources/cascade-host.png\n"
                         "Usage: scripts/draw-host-icon.py [--size N] OUTPUT.png|OUTPUT.svg\n")
        return 2
    data = svg() if args[0].endswith(".svg") else png(render(size), size)
    try:
        with open(args[0], "wb") as f:
            f.write(data)
    except OSError as e:
        sys.stderr.write("draw-host-icon.py: cannot write %s: %s\n" % (args[0], e.strerror))
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
