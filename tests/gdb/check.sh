#!/bin/sh
# Prints the arguments of `shown` in gdb and compares. Arguments: program, printers, what is to be printed.
command -v gdb > /dev/null || exit 77
printed=$(ASAN_OPTIONS=detect_leaks=0 gdb -q -nx -batch -iex 'set auto-load no' -iex 'set debuginfod enabled off' -ex "source $2" \
    -ex 'set print frame-arguments none' -ex 'set width 0' -ex 'break shown' -ex run -ex up \
    -ex 'print scalar' -ex 'print row' -ex 'print matrix' -ex 'print complex' -ex 'print wide' -ex 'print scaled' \
    -ex 'print floating' -ex 'print type' -ex 'set print elements 2' -ex 'print row' -ex kill "$1" 2>&1)
case $printed in *'ptrace: Operation not permitted'* | *'scripting is not supported'*) exit 77 ;; esac
printf '%s\n' "$printed" | grep '^\$' | sed 's/^\$[0-9]* = //' | diff "$3" - || { printf '%s\n' "$printed"; exit 1; }
