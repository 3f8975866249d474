#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Draws the 48 x 48 grey-with-alpha padlock icon of the settings dialog.
# Usage: scripts/draw-lock-icon.py modules/CascadedSystemModule/resources/lock.png
import zlib, struct, math, sys
USAGE = "Usage: scripts/draw-lock-icon.py OUTPUT.png\n" \
        "Draws the 48 x 48 padlock icon of the settings dialog into OUTPUT.png\n" \
        "(the checked-in one is modules/CascadedSystemModule/resources/lock.png).\n"
if len(sys.argv) == 2 and sys.argv[1] in ("-h", "--help"):
    sys.stdout.write(USAGE); sys.exit(0)
if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
    sys.stderr.write("draw-lock-icon.py: expected one output file\n" + USAGE); sys.exit(2)
W=H=48
def cov(x,y):
    # returns (grey, alpha) for pixel centre x,y using 4x4 supersampling
    g=0; a=0; n=0
    for sy in range(4):
        for sx in range(4):
            px=x+(sx+0.5)/4; py=y+(sy+0.5)/4
            n+=1
            # body: rounded rect 10..38 x 21..43
            bx0,bx1,by0,by1,r=9,39,21,44,4
            inside=False
            cx=min(max(px,bx0+r),bx1-r); cy=min(max(py,by0+r),by1-r)
            if bx0<=px<=bx1 and by0<=py<=by1 and (px-cx)**2+(py-cy)**2<=r*r:
                inside=True
                # keyhole
                if (px-24)**2+(py-30)**2<=3.2**2 or (22.6<=px<=25.4 and 30<=py<=37):
                    g+=40; a+=255; continue
                shade=150-int((py-by0)*1.5)
                g+=shade; a+=255; continue
            # shackle: ring centre (24,20) radii 7..11, upper half plus legs
            d=math.hypot(px-24,py-20)
            if py<=20 and 7<=d<=11.5:
                g+=110; a+=255; continue
            if 20<py<=22 and (12.5<=px<=17 or 31<=px<=35.5):
                g+=110; a+=255; continue
    if a==0: return (0,0)
    return (g*255//a if a else 0, a//n)
raw=b''
for y in range(H):
    raw+=b'\x00'
    for x in range(W):
        gval,aval=cov(x,y)
        raw+=bytes((min(255,gval),aval))
def chunk(t,d): return struct.pack('>I',len(d))+t+d+struct.pack('>I',zlib.crc32(t+d)&0xffffffff)
png=b'\x89PNG\r\n\x1a\n'+chunk(b'IHDR',struct.pack('>IIBBBBB',W,H,8,4,0,0,0))+chunk(b'IDAT',zlib.compress(raw,9))+chunk(b'IEND',b'')
open(sys.argv[1],'wb').write(png)
print(len(png))
