#!/usr/bin/env bash
# Prints the names that a shared library exports, one a line, sorted.
#   scripts/list-exports.sh LIBRARY
set -euo pipefail

nm --dynamic --demangle --defined-only "$1" |
    awk '$2 != "A"' |    # the version node itself
    cut -c20- |          # without address and kind
    sed -e 's/@@.*$//' \
        -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
        -e 's/\[abi:cxx11\]//g' |
    LC_ALL=C sort -u
