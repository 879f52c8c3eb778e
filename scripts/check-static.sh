#!/usr/bin/env bash
# The static checks. Prints what they find, and fails if it is anything.
#   scripts/check-static.sh SOURCE_DIR [CHECK...]    CHECK: all of them unless named
#     format      clang-format: every C++ file is laid out as .clang-format says
#     shell       shellcheck: every script
#     cppcheck    src/ and include/
#     analyzer    g++ -fanalyzer: what src/ frees, closes and dereferences
#     tidy        clang-tidy: src/ and include/, what .clang-tidy switches on
set -euo pipefail
cd "${1:?SOURCE_DIR is missing}"
shift
[[ $# -gt 0 ]] || set -- format shell cppcheck analyzer tidy

log=$(mktemp)
trap 'rm -f "$log"' EXIT
jobs=$(nproc)
failures=0

# require TOOL PACKAGE
require() {
    command -v "$1" >/dev/null && return
    echo "$1 is missing: install the Debian package $2"
    return 1
}

# The folders that are there of those named.
folders() {
    local folder
    for folder in "$@"; do
        [[ ! -d $folder ]] || echo "$folder"
    done
}

# Flags of the library's sources.
compiler_flags() {
    echo "-std=c++17 -Iinclude -Isrc"
    pkg-config --cflags-only-I libxml-2.0 | sed 's/-I/-isystem /g'
}

list_sources() {
    find src -name '*.cpp' -print0 | sort -z
}

check_format() {
    local -a in
    mapfile -t in < <(folders bench examples fuzz include packaging src tests tools)
    find "${in[@]}" \( -name '*.cpp' -o -name '*.h' \) -print0 |
        xargs -0 clang-format --dry-run --Werror
}

check_shell() {
    local -a in
    mapfile -t in < <(folders .ci bench debian examples fuzz packaging scripts src tests tools)
    grep -rlIZE '^#!.*\b(bash|sh)$' "${in[@]}" | xargs -0 shellcheck -x
}

# Parameters by value are a contract with programs that exist.
check_cppcheck() {
    cppcheck --std=c++17 --language=c++ --enable=warning,performance,portability \
        --suppress=passedByValue --inline-suppr --error-exitcode=1 --quiet -j "$jobs" \
        -I include -I src src
}

# Switched off is what g++ 12 does not understand of C++:
#   use-of-uninitialized-value   it loses sight of what a function returns in its caller's memory,
#                                as each std::string is, and reports every use of it
#   malloc-leak, file-leak       it does not follow an owner's destructor, and all streams of ours
#                                have owners; sanitizers and the proof of leaks look for leaks
# Without optimisation: with it, possible failures of operator new are null pointers.
check_analyzer() {
    # shellcheck disable=SC2016 # the inner shell's
    list_sources | xargs -0 -P "$jobs" -n 4 sh -c '
        for source in "$@"; do
            # shellcheck disable=SC2086 # the flags are words
            g++ $0 -O0 -fanalyzer -Wno-analyzer-use-of-uninitialized-value \
                -Wno-analyzer-malloc-leak -Wno-analyzer-file-leak -Werror -S -o /dev/null \
                "$source" || exit 1
        done' "$(compiler_flags | tr '\n' ' ')"
}

check_tidy() {
    # shellcheck disable=SC2016 # the inner shell's
    list_sources | xargs -0 -P "$jobs" -n 4 sh -c 'clang-tidy --quiet "$@" -- $0' \
        "$(compiler_flags | tr '\n' ' ')"
}

run() {
    case $1 in
        format) require clang-format clang-format && check_format ;;
        shell) require shellcheck shellcheck && check_shell ;;
        cppcheck) require cppcheck cppcheck && check_cppcheck ;;
        analyzer) require g++ g++ && require pkg-config pkg-config && check_analyzer ;;
        tidy) require clang-tidy clang-tidy && require pkg-config pkg-config && check_tidy ;;
        *)
            echo "there is no such check"
            return 2
            ;;
    esac
}

for check in "$@"; do
    if run "$check" >"$log" 2>&1; then
        echo "$check: clean"
    else
        cat "$log"
        echo "$check: see above"
        failures=$((failures + 1))
    fi
done
exit $((failures > 0))
