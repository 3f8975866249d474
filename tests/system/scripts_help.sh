#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every script in scripts/ answers --help and -h with its usage and exit 0,
# and refuses bad arguments with a message and a non-zero exit, doing nothing
# else: the tools a script would run (cmake, apt-get, sudo, valgrind, the
# compilers) are replaced by stubs that record being called.
# Usage: scripts_help.sh SOURCE_DIR
set -u
src="${1:?usage: scripts_help.sh SOURCE_DIR}"
stubs="$(mktemp -d)"
trap 'rm -rf "$stubs"' EXIT
for tool in cmake ctest apt-get sudo dpkg-query valgrind clang++ g++ make; do
    printf '#!/bin/sh\necho "%s $*" >>"%s/called"\nexit 0\n' "$tool" "$stubs" >"$stubs/$tool"
    chmod +x "$stubs/$tool"
done
export PATH="$stubs:$PATH"
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

check() { # expected-status script args...
    local want="$1" script="$2"
    shift 2
    rm -f "$stubs/called"
    local out rc
    out="$(cd "$stubs" && timeout 20 "$src/scripts/$script" "$@" 2>&1)"
    rc=$?
    if [ "$want" = 0 ]; then
        [ "$rc" -eq 0 ] || fail "$script $*: exit $rc"
        grep -qi "usage" <<<"$out" || fail "$script $*: no usage in: $out"
    else
        [ "$rc" -eq "$want" ] || fail "$script $*: exit $rc for a bad argument, not $want"
        [ -n "$out" ] || fail "$script $*: no message"
    fi
    [ -e "$stubs/called" ] && fail "$script $*: ran $(tr '\n' ';' <"$stubs/called")"
    [ -e "$stubs/scripts" ] && fail "$script $*: wrote into the working folder"
    return 0
}

for script in "$src"/scripts/*; do
    [ -x "$script" ] || continue # lib.sh is sourced, not run
    name="$(basename "$script")"
    check 0 "$name" --help
    check 0 "$name" -h
done

check 2 fuzz abc
check 2 fuzz 10 no_such_target
check 2 valgrind-dialogs many
check 2 valgrind-dialogs 5 6
check 2 bench --nonsense
check 2 package --nonsense
check 2 check-packages --nonsense
check 2 install-deps nonsense
check 2 demo --lang
check 2 draw-host-icon.py
check 2 draw-lock-icon.py

[ "$failures" -eq 0 ] && echo "every script answers --help and refuses bad arguments"
exit $((failures > 0))
