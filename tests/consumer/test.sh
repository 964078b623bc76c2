#!/bin/bash
# Uses the library as its users do.
#   test.sh installed BUILD    installs a build tree into a scratch prefix; builds the consumer with find_package and
#                              with pkg-config, and compiles it with the library's tree as a part of the project
#   test.sh embedded SOURCE    builds the consumer with the library's tree as a part of the project, which makes it a
#                              static library; then installs that and goes on as with any installed one
#   test.sh prefix PREFIX      the consumer against what stands below this prefix, the system's if it is /usr
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source_tree=$(cd "$here/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cxx=${CXX:-c++}
version=$(sed -n 's/^project(orvex VERSION \([0-9.]*\).*/\1/p' "$source_tree/CMakeLists.txt")
configure() { cmake -G Ninja -S "$here" -D CMAKE_CXX_COMPILER="$cxx" -D CMAKE_CXX_FLAGS="-Wall -Wextra -Werror" "$@" >/dev/null; }

runs() { # what it is, program
    local text
    text=$("${@:2}")
    [[ $text == "$version 2.25 8.4375 11 s8,4" ]] || { echo "$1 prints: $text"; exit 1; }
    echo "$1: $text"
}

use_prefix() { # what it is, prefix
    local -a paths=() flags
    if [[ $2 != /usr ]]; then
        paths=(-D CMAKE_PREFIX_PATH="$2" -D CMAKE_FIND_USE_CMAKE_SYSTEM_PATH=ON)
        export PKG_CONFIG_PATH
        PKG_CONFIG_PATH=$(find "$2" -type d -name pkgconfig | paste -s -d :)
    fi
    configure -B "$scratch/found" "${paths[@]}"
    grep -q "^orvex_DIR:PATH=$2/" "$scratch/found/CMakeCache.txt"
    cmake --build "$scratch/found" >/dev/null
    runs "$1, find_package" "$scratch/found/consumer"
    [[ $(pkg-config --modversion orvex) == "$version" ]]
    read -ra flags <<<"$(pkg-config --cflags --libs orvex orvex-text) -Wl,-rpath,$(pkg-config --variable=libdir orvex)"
    "$cxx" -std=c++20 -Wall -Wextra -Werror "$here/main.cpp" -o "$scratch/by_hand" "${flags[@]}"
    runs "$1, pkg-config" "$scratch/by_hand"
    rm -rf "$scratch/found"
}

# Where a tree was made is nobody's business: what is installed may be moved.
install_into() { # build tree, prefix
    cmake --install "$1" --prefix "$2.first" >/dev/null
    mv "$2.first" "$2"
    ! grep -rl --include='*.cmake' --include='*.pc' -e "$2.first" -e "$source_tree" "$2"
}

case $1 in
installed)
    install_into "$2" "$scratch/prefix"
    soname=$(readelf -d "$(find "$scratch/prefix" -name liborvex.so)" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
    [[ $version == "${soname#liborvex.so.}".* ]] || { echo "version $version has the soname $soname"; exit 1; }
    use_prefix installed "$scratch/prefix"
    configure -B "$scratch/embedded" -D ORVEX_SOURCE="$source_tree"
    cmake --build "$scratch/embedded" --target CMakeFiles/consumer.dir/main.cpp.o >/dev/null
    ;;
embedded)
    configure -B "$scratch/embedded" -D ORVEX_SOURCE="$2" -D CMAKE_BUILD_TYPE=Debug ${LAUNCHER:+-D CMAKE_CXX_COMPILER_LAUNCHER="$LAUNCHER"}
    cmake --build "$scratch/embedded" >/dev/null
    runs embedded "$scratch/embedded/consumer"
    install_into "$scratch/embedded" "$scratch/prefix"
    [[ -z $(find "$scratch/prefix" -name '*.so*') ]]
    use_prefix static "$scratch/prefix"
    ;;
prefix) use_prefix "$2" "$2" ;;
esac
