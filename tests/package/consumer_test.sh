#!/usr/bin/env bash
# Builds and runs somebody else's program, in the oldest and the newest standard.
#   consumer_test.sh installed BUILD_DIR            against the installed library, which was moved, with
#                                                   each compiler and through pkg-config
#   consumer_test.sh subdirectory SOURCE_DIR WORK   with the library as part of the program's tree,
#       for release: there is no warning, and what is built is hardened. Then the library is installed
#       from there into directories that were given as absolute paths, and used through pkg-config
set -euo pipefail
here=$(realpath "$(dirname "$0")")
consumer=$here/consumer

fail() {
    echo "$*" >&2
    exit 1
}

# check WHAT PROGRAM [LIBRARY_DIR]: the program does its work and says so.
check() {
    local output
    output=$(LD_LIBRARY_PATH=${3:-} "$2") || fail "$1: exit $?"
    [[ $output == "/opt/velmora/qor/som caught across the library's border" ]] ||
        fail "$1: unexpected output: $output"
    echo "$1: built and run"
}

# build WHAT DIRECTORY OPTION...
build() {
    local what=$1 directory=$2 standard
    shift 2
    cmake -S "$consumer" -B "$directory" -G Ninja "$@" >/dev/null
    cmake --build "$directory" >"$work/log" || { cat "$work/log"; fail "$what: does not build"; }
    for standard in 11 23; do
        check "$what, C++$standard" "$directory/consumer_$standard"
    done
}

# build_with_pkg_config WHAT PC_DIR: as a makefile would.
build_with_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_PATH=$2 pkg-config --cflags --libs qor_ComLib) || fail "$1: no flags"
    # shellcheck disable=SC2086 # the flags are words
    g++ -std=c++11 "$consumer/main.cpp" -o "$work/by_pkg_config" $flags
    check "$1" "$work/by_pkg_config" "$(PKG_CONFIG_PATH=$2 pkg-config --variable=libdir qor_ComLib)"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

case $1 in
installed)
    cmake --install "$2" --prefix "$work/installed" >/dev/null
    mv "$work/installed" "$work/moved"
    for compiler in g++ clang++ clang++-16; do
        build "moved tree, $compiler" "$work/$compiler" "-DCMAKE_CXX_COMPILER=$compiler" \
            "-DCMAKE_PREFIX_PATH=$work/moved"
    done
    build_with_pkg_config "pkg-config, moved tree" \
        "$(dirname "$(find "$work/moved" -name qor_ComLib.pc)")"

    library=$(find "$work/moved" -name libqor_ComLib.so)
    nodes=$(objdump -p "$library" | awk '/^Version def/ { on = 1 } /^$/ { on = 0 } on && NF == 4 { print $4 }')
    [[ $nodes == $'libqor_ComLib.so.1\nQOR_1' ]] || fail "unexpected version nodes: $nodes"
    ;;
subdirectory)
    build subdirectory "$3" "-DQOR_SOURCE_DIR=$2" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DQOR_WARNINGS_AS_ERRORS=ON -DQOR_BUILD_EXAMPLES=ON "-DCMAKE_INSTALL_PREFIX=$work/prefix" \
        "-DCMAKE_INSTALL_LIBDIR=$work/absolute/lib" \
        "-DCMAKE_INSTALL_INCLUDEDIR=$work/absolute/headers"
    "$2/scripts/check-hardening.sh" "$3/qor_ComLib/libqor_ComLib.so" \
        "$3"/qor_ComLib/examples/one_request/qor_{som,cli}
    cmake --install "$3" >/dev/null
    build_with_pkg_config "pkg-config, absolute directories" "$work/absolute/lib/pkgconfig"
    ;;
esac
