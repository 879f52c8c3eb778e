#!/usr/bin/env bash
# Builds and runs somebody else's program, in the oldest and the newest standard.
#   consumer_test.sh installed BUILD_DIR            against the installed library, which was moved, with
#       each compiler and through pkg-config, whose paths are plain in the system's own directories; the
#       component "host" is installed, too
#   consumer_test.sh subdirectory SOURCE_DIR WORK   with the library as part of the program's tree,
#       for release: there is no warning, and what is built is hardened, at the caller's own level of
#       _FORTIFY_SOURCE. Then the library is installed
#       from there into directories that were given as absolute paths, and used through pkg-config
set -euo pipefail
here=$(realpath "$(dirname "$0")")
consumer=$here/consumer
# shellcheck source=../../scripts/require.sh source-path=SCRIPTDIR
source "$here/../../scripts/require.sh"

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
    cmake --build "$directory" --parallel 1 >"$work/log" || { cat "$work/log"; fail "$what: does not build"; }
    # In the search path of a program a colon ends a directory.
    [[ $directory != *:* ]] || ln -sfn "$directory" "$work/built"
    for standard in 11 23; do
        check "$what, C++$standard" "$directory/consumer_$standard" "$work/built/qor_ComLib"
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
    for compiler in $(compilers); do
        build "moved tree, $compiler" "$work/$compiler" "-DCMAKE_CXX_COMPILER=$compiler" \
            "-DCMAKE_PREFIX_PATH=$work/moved"
    done
    build_with_pkg_config "pkg-config, moved tree" \
        "$(dirname "$(find "$work/moved" -name qor_ComLib.pc)")"

    for prefix in /usr /usr/local; do
        DESTDIR=$work/system$prefix cmake --install "$2" --prefix $prefix >/dev/null
        flags=$(PKG_CONFIG_PATH=$(dirname "$(find "$work/system$prefix" -name qor_ComLib.pc)") \
            pkg-config --cflags --libs qor_ComLib)
        [[ $flags == "-I$prefix/include/qor "*"-lqor_ComLib"* && $flags != */../* ]] ||
            fail "flags below $prefix: $flags"
    done
    cmake --install "$2" --component host --prefix "$work/host" >/dev/null
    found=$(cd "$work/host" && find . ! -type d | LC_ALL=C sort)
    [[ $found == ./lib/systemd/system/qor-som.service$'\n'./lib/systemd/system/qor-som.service.d/*conf$'\n'./lib/sysusers.d/qor-comlib.conf$'\n'./lib/tmpfiles.d/qor-comlib.conf ]] ||
        fail "the component host: $found"

    library=$(find "$work/moved" -name libqor_ComLib.so)
    nodes=$(objdump -p "$library" | awk '/^Version def/ { on = 1 } /^$/ { on = 0 } on && NF == 4 { print $4 }')
    [[ $nodes == $'libqor_ComLib.so.1\nQOR_1' ]] || fail "unexpected version nodes: $nodes"
    ;;
subdirectory)
    build subdirectory "$3" "-DQOR_SOURCE_DIR=$2" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_FLAGS=-D_FORTIFY_SOURCE=1 \
        -DQOR_WARNINGS_AS_ERRORS=ON -DQOR_BUILD_EXAMPLES=ON "-DCMAKE_INSTALL_PREFIX=$work/prefix" \
        "-DCMAKE_INSTALL_LIBDIR=$work/absolute/lib" \
        "-DCMAKE_INSTALL_INCLUDEDIR=$work/absolute/headers"
    "$2/scripts/check-hardening.sh" "$3/qor_ComLib/libqor_ComLib.so" \
        "$3"/qor_ComLib/examples/one_request/qor_{som,cli}
    ! grep -E '_FORTIFY_SOURCE=[^1]' "$3/build.ninja" ||
        fail "the caller's level of _FORTIFY_SOURCE is changed"
    cmake --install "$3" >/dev/null
    build_with_pkg_config "pkg-config, absolute directories" "$work/absolute/lib/pkgconfig"
    ;;
esac
