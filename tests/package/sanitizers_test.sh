#!/usr/bin/env bash
# Programs of the examples under sanitizers: there is no warning, and nothing is reported. That the
# build's sanitizers report at all is seen first. All that in a checkout below /var/tmp, which the
# programs cover, with blanks and a colon in its path.
#   sanitizers_test.sh SOURCE_DIR WORK_DIR COMPILER SANITIZERS TARGET...
#     WORK_DIR    where the build stays
#     TARGET      basics: the small programs; one_request: a request from a tool through service and
#                 provider and back
set -euo pipefail
# shellcheck source=private.sh source-path=SCRIPTDIR
source "$(dirname "$0")/private.sh"
[[ ${QOR_PRIVATE_DISK:-} == yes ]] || enter_private "$0" "$@"

mkdir -p "$2"
check_out_below /var/tmp "$1" "$2"
source_dir=$place/source build=$place/build compiler=$3 sanitizers=$4
targets=("${@:5}")

cmake -S "$source_dir" -B "$build" -G Ninja "-DCMAKE_CXX_COMPILER=$compiler" \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-g1 -DCMAKE_UNITY_BUILD=ON \
    -DQOR_BUILD_EXAMPLES=ON -DQOR_WARNINGS_AS_ERRORS=ON "-DQOR_SANITIZE=$sanitizers" >/dev/null
cmake --build "$build" --parallel 1 --target "${targets[@]}" qor_planted_fault >"$build/log" ||
    { tail -n 60 "$build/log"; exit 1; }
IFS=, read -ra each <<<"$sanitizers"
"$source_dir/tests/support/sanitizers_report.sh" "$build/tests/support/qor_planted_fault" "${each[@]}"

for target in "${targets[@]}"; do
    case $target in
    basics) "$source_dir/examples/basics/run.sh" "$build/examples/basics" ;;
    one_request)
        "$source_dir/examples/one_request/run/run.sh" show "$build" >"$build/demo" 2>&1 ||
            { cat "$build/demo"; exit 1; }
        tail -n 1 "$build/demo"
        ;;
    *) echo "no such target: $target" >&2; exit 2 ;;
    esac
done
