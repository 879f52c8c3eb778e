#!/usr/bin/env bash
# Runs the test programs, the fuzz corpora, the examples and the demo under valgrind's memcheck,
# each program as a whole. Prints the figures of each, and fails on any report: memory used wrongly,
# or lost for good.
#   scripts/valgrind.sh [BUILD_DIR [PROGRAM...]]
#     BUILD_DIR    build/valgrind; built without sanitizers
#     PROGRAM      only those: qor_test_util, qor_fuzz_banner, basics, demo ...
#
# A child that a program forks is watched to its end, as the program is; commands that it runs are
# programs of others and are not. Left out are the proofs, which trace system calls, measure time or
# memory, or are nothing but load; and the cases that begin with QOR_SKIP_UNDER_MEMCHECK.
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require valgrind
cd "$(dirname "$0")/.."
[[ $# -gt 0 ]] || set -- build/valgrind
build=$(cd "$1" && pwd)
shift
wanted=("$@")

export QOR_TEST_UNDER_MEMCHECK=yes

# Children of other accounts write here, too.
logs=$(uncovered "$build/memcheck")
rm -rf "$logs"
mkdir -p "$logs"
chmod 1777 "$logs"
cp tests/support/valgrind.supp "$logs/"  # the option splits at no blank there

# somalloc=nouserintercepts: tests that count their program's operator new go on counting.
# vgdb=no: it puts files of its own into /tmp, where tests look.
# read-inline-info=no: nothing is inlined in these builds, and reading takes a fifth of a short run.
memcheck=(valgrind --tool=memcheck --quiet --error-exitcode=97
    --leak-check=full --errors-for-leak-kinds=definite --show-leak-kinds=definite
    --num-callers=30 --child-silent-after-fork=no --trace-children=no
    --soname-synonyms=somalloc=nouserintercepts --vgdb=no --fair-sched=yes --read-inline-info=no
    "--suppressions=$logs/valgrind.supp")

programs=0
tests=0
failures=0

is_wanted() {
    [[ ${#wanted[@]} -eq 0 || " ${wanted[*]} " == *" $1 "* ]]
}

# run NAME PATTERN COMMAND...: the command, whose processes log to NAME.log.PID; a line of the
# output that matches PATTERN is a test.
run() {
    local name=$1 pattern=$2 output=$logs/$1.output status=0 passed reports start=$SECONDS
    shift 2
    is_wanted "$name" || return 0
    "$@" >"$output" 2>&1 </dev/null || status=$?
    passed=$(grep -Ec -- "$pattern" "$output" || true)
    reports=$(cat "$logs/$name".log.* 2>/dev/null | grep -c '^==[0-9]*== [^ ]' || true)
    programs=$((programs + 1))
    tests=$((tests + passed))
    printf '%-28s %5d tests %4d s  ' "$name" "$passed" $((SECONDS - start))
    if [[ $status -eq 0 && $reports -eq 0 && $passed -gt 0 ]]; then
        echo "no report"
        return
    fi
    echo "exit status $status, $reports lines of reports: $output"
    failures=$((failures + 1))
    tail -n 25 "$output"
    cat "$logs/$name".log.* 2>/dev/null | head -n 100
}

# wrapper NAME PROGRAM: a script in the place of the program, which runs it under memcheck.
wrapper() {
    printf '#!/bin/sh\nexec %s --log-file=%s %q "$@"\n' "${memcheck[*]}" "$logs/$1.log.%p" "$2"
}

# Memcheck reports the faults that it is there for.
check_memcheck() {
    local fault status
    for fault in none heap leak; do
        status=0
        "${memcheck[@]}" --log-file=/dev/null "$build/tests/support/qor_planted_fault" "$fault" ||
            status=$?
        [[ $status -eq $([[ $fault == none ]] && echo 0 || echo 97) ]] || {
            echo "The planted fault \"$fault\" gives exit status $status." >&2
            exit 1
        }
    done
}

run_gtest() {
    local name=${1##*/}
    run "$name" '^\[       OK \]' "${memcheck[@]}" "--log-file=$logs/$name.log.%p" "$1"
}

run_corpus() {
    local name=${1##*/}
    run "$name" '^/dev/qor_tests/' "${memcheck[@]}" "--log-file=$logs/$name.log.%p" "$1" \
        "/dev/qor_tests/source/fuzz/corpus/${name#qor_fuzz_}"
}

# Programs and library are copied, as they lie in the build tree: the examples may cover that.
run_basics() {
    local from=$build/examples/basics tree=$logs/tree to=$logs/basics program copy
    mkdir -p "$tree/examples/basics" "$to"
    cp "$build"/libqor_ComLib.so.? "$tree"
    for program in "$from"/example_*; do
        copy=$tree/examples/basics/${program##*/}
        cp "$program" "$copy"
        wrapper basics "$copy" >"$to/${program##*/}"
        chmod +x "$to/${program##*/}"
    done
    cp "$from"/*.so "$to"
    run basics ': as expected$' examples/basics/run.sh "$to"
}

run_demo() {
    QOR_RUN_UNDER="${memcheck[*]} --log-file=$logs/demo.log.%p" \
        run demo '^\$ ' examples/one_request/run/run.sh show "$build"
}

mapfile -t test_programs < <(
    find "$build/tests" "$build/examples" "$build/tools" -type f -executable \
        \( -name 'qor_test_*' -o -name 'one_request_test' \) | sort)
mapfile -t fuzz_programs < <(find "$build/fuzz" -type f -executable -name 'qor_fuzz_*' | sort)
[[ ${#test_programs[@]} -gt 0 && ${#fuzz_programs[@]} -gt 0 ]] || {
    echo "$build is not built: cmake --workflow --preset valgrind" >&2
    exit 1
}
check_memcheck

for program in "${test_programs[@]}"; do
    run_gtest "$program"
done
for program in "${fuzz_programs[@]}"; do
    run_corpus "$program"
done
run_basics
run_demo
echo "$programs programs, $tests tests, $failures with reports"
[[ ${#wanted[@]} -eq 0 || $programs -eq ${#wanted[@]} ]] || {
    echo "Not all of these are programs: ${wanted[*]}" >&2
    exit 2
}
((failures == 0)) || exit 1
rm -rf "$logs"
