#!/usr/bin/env bash
# The small programs of the examples, and one request from a tool through service and provider and
# back, under the sanitizers of clang, which also must have no warning, and g++: they report nothing.
# That a build's sanitizers report at all is seen first. All that in a checkout below /var/tmp, which
# the programs cover, with blanks and a colon in its path.
#   sanitizers_test.sh SOURCE_DIR WORK_DIR    WORK_DIR: where the builds stay
set -euo pipefail
# shellcheck source=private.sh source-path=SCRIPTDIR
source "$(dirname "$0")/private.sh"
[[ ${QOR_PRIVATE_DISK:-} == yes ]] || enter_private "$0" "$@"

mkdir -p "${2:?usage: sanitizers_test.sh SOURCE_DIR WORK_DIR}"
check_out_below /var/tmp "$1" "$2"
source_dir=$place/source work=$place/build

# sanitized COMPILER SANITIZERS
sanitized() {
    local compiler=$1 sanitizers=$2 build=$work/${2//,/-} each
    mkdir -p "$build"
    cmake -S "$source_dir" -B "$build" -G Ninja "-DCMAKE_CXX_COMPILER=$compiler" \
        -DCMAKE_BUILD_TYPE=Debug -DQOR_BUILD_EXAMPLES=ON -DQOR_WARNINGS_AS_ERRORS=ON \
        "-DQOR_SANITIZE=$sanitizers" >/dev/null
    cmake --build "$build" --target basics one_request qor_planted_fault >"$build/log" ||
        { tail -n 60 "$build/log"; exit 1; }
    echo "$sanitizers:"
    mapfile -t -d , each < <(printf '%s' "$sanitizers")
    "$source_dir/tests/support/sanitizers_report.sh" \
        "$build/tests/support/qor_planted_fault" "${each[@]}"
    "$source_dir/examples/basics/run.sh" "$build/examples/basics"
    "$source_dir/examples/one_request/run/run.sh" show "$build" >"$build/demo" 2>&1 ||
        { cat "$build/demo"; exit 1; }
    tail -n 1 "$build/demo"
}

sanitized clang++ address,undefined,integer,implicit-conversion
sanitized g++ thread
