#!/bin/sh
# Every public header compiles alone, without a warning, in each of the compilers that are there.
# Arguments: include folder, compilers.
include=$1
shift
for compiler in "$@"; do
    command -v "$compiler" >/dev/null || { echo "$compiler is not here: left out"; continue; }
    # One line of input for xargs: as many compilers at a time as there are processors.
    (cd "$include" && find . -name '*.h' -print) |
        xargs -P "$(nproc)" -I '{}' "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wconversion -Werror \
            -I "$include" -include '{}' -x c++ /dev/null || exit 1
done
