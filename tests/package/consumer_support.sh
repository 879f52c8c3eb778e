# Sourced by the tests of installed and built-in consumers.
# shellcheck shell=bash

standards=(11 14 17 20 23)

fail() {
    echo "$*" >&2
    exit 1
}

# run_consumer WHAT PROGRAM [LIBRARY_DIR]: the program does its work and says so.
run_consumer() {
    local output
    output=$(LD_LIBRARY_PATH=${3:-} "$2") || fail "$1: exit $?"
    [[ $output == "/opt/velmora/qor/som caught across the library's border" ]] ||
        fail "$1: unexpected output: $output"
}

# run_consumers WHAT BUILD_DIR: the program of each standard.
run_consumers() {
    local standard
    for standard in "${standards[@]}"; do
        run_consumer "$1, C++$standard" "$2/consumer_$standard"
    done
    echo "$1: ${#standards[@]} standards, built and run"
}

# build_with_pkg_config WHAT SOURCE PC_DIR OUTPUT: as a makefile would, in C++11.
build_with_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_PATH=$3 pkg-config --cflags --libs qor_ComLib) || fail "$1: no flags"
    # shellcheck disable=SC2086 # the flags are words
    g++ -std=c++11 "$2" -o "$4" $flags
    run_consumer "$1" "$4" "$(PKG_CONFIG_PATH=$3 pkg-config --variable=libdir qor_ComLib)"
    echo "$1: built and run"
}
