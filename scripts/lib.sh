# SPDX-License-Identifier: MIT
# What the scripts share; sourced by them after they set "here" (the source
# tree), never run on its own.

# Prints the comment block at the head of script $1, from its second line to
# the line before "set -euo pipefail", without the leading "# " and without
# the licence line.
print_help() {
    sed -n '2,/^set -euo/p' "$1" | sed '$d; /SPDX-License-Identifier/d; s/^# \{0,1\}//'
}

# Prints the help of script $1 and exits 0 when $2 is -h or --help.
answer_help() {
    case "${2:-}" in
        -h|--help) print_help "$1"; exit 0 ;;
    esac
}

# Sets qt from CASCADE_QT_MAJOR (5 or 6, default 5) and build from BUILD_DIR,
# else $here/$2 for Qt 5 and $here/$2-qt6 for Qt 6. Exits 2 for another Qt,
# naming script $1.
choose_build() {
    qt="${CASCADE_QT_MAJOR:-5}"
    case "$qt" in
        5) build="${BUILD_DIR:-$here/$2}" ;;
        6) build="${BUILD_DIR:-$here/$2-qt6}" ;;
        *) echo "$1: CASCADE_QT_MAJOR must be 5 or 6, not \"$qt\"" >&2; exit 2 ;;
    esac
}
