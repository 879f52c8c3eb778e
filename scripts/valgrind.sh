#!/usr/bin/env bash
# Runs the test programs, the fuzz corpora, the examples and the demo under valgrind's memcheck,
# each program as a whole. Prints the figures of each, and fails on any report: memory used wrongly,
# or lost for good.
#   scripts/valgrind.sh [BUILD_DIR [PROGRAM...]]
#     BUILD_DIR    build/valgrind; built without sanitizers
#     PROGRAM      only those: qor_test_util, qor_fuzz_banner, basics, demo ...
#
# A child that a program forks is watched to its end, as the program is; commands that it runs are
# programs of others and are not. What is left out:
#   proof_faults, proof_death      trace system calls (ptrace(2)): they would see valgrind's
#   proof_hostile                  measures the processor time of what it runs
#   proof_leaks                    measures memory
#   proof_load                     is nothing but load: its ways are those of the tests
#   the cases in left_out below    each for its reason
set -euo pipefail
cd "$(dirname "$0")/.."
[[ $# -gt 0 ]] || set -- build/valgrind
build=$(cd "$1" && pwd)
shift
wanted=("$@")

command -v valgrind >/dev/null || {
    echo "valgrind is missing: scripts/install-deps.sh check" >&2
    exit 1
}

# Cases that are not run, by program: patterns of gtest.
declare -A left_out=(
    # Half a million polls; the other time-outs go the same way.
    [qor_test_transfer]='*TimesOutAfterThirtySecondsOfSleep'
    # Overflows the stack on purpose.
    [qor_test_trace]='*NeverReturnsFrom*'
    # A thousand rounds, ten mebibytes or more of what other cases do once: AThousand,
    # OfTenMebibytes, UpToTheParsersLimit. What asks the C library's allocator (mallinfo2(3)), whose
    # place memcheck takes: NoMemoryAnd. What counts a command's descriptors, to which valgrind adds
    # its own: NoDescriptorOfItsOwn, StandardStreamsToThePipes. The C library's wmemcmp(3), which
    # reads whole vectors behind a short text; memcheck has a memcmp(3) of its own, but none of wide
    # characters: TextWhateverTheSize.
    [qor_test_util]='*AThousand*:*OfTenMebibytes:*UpToTheParsersLimit:*NoMemoryAnd*
        :*NoDescriptorOfItsOwn:*StandardStreamsToThePipes:*WideTextWhateverTheSize'
    # As above: AThousand, NoDescriptorOfItsOwn, GivesTheScriptAPrivateScratchFile. Where no
    # descriptor is left, valgrind refuses a new file after it has made it: WithoutADescriptor.
    [qor_test_host]='*AThousand*:*NoDescriptorOfItsOwn:*GivesTheScriptAPrivateScratchFile
        :*WithoutADescriptor*'
)
logs=$build/memcheck
rm -rf "$logs"
mkdir -p "$logs"
chmod 1777 "$logs"  # children of other accounts write here

# somalloc=nouserintercepts: tests that count their program's operator new go on counting.
# vgdb=no: it puts files of its own into /tmp, where tests look.
memcheck=(valgrind --tool=memcheck --quiet --error-exitcode=97
    --leak-check=full --errors-for-leak-kinds=definite --show-leak-kinds=definite
    --num-callers=30 --child-silent-after-fork=no --trace-children=no
    --soname-synonyms=somalloc=nouserintercepts --vgdb=no --fair-sched=yes
    "--suppressions=$PWD/tests/support/valgrind.supp")

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
    printf '#!/bin/sh\nexec %s --log-file=%s %s "$@"\n' "${memcheck[*]}" "$logs/$1.log.%p" "$2"
}

# Memcheck tells of the faults that it is there for.
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
    local program=$1 name
    name=$(basename "$program")
    run "$name" '^\[       OK \]' "${memcheck[@]}" "--log-file=$logs/$name.log.%p" "$program" \
        --gtest_filter="-$(tr -d ' \n' <<<"${left_out[$name]:-}")"
}

run_corpus() {
    local program=$1 name target
    name=$(basename "$program")
    target=${name#qor_fuzz_}
    run "$name" '^/dev/qor_tests/' "${memcheck[@]}" "--log-file=$logs/$name.log.%p" "$program" \
        "/dev/qor_tests/source/fuzz/corpus/$target"
}

run_basics() {
    local from=$build/examples/basics to=$logs/basics program
    mkdir "$to"
    for program in "$from"/example_*; do
        wrapper basics "$program" >"$to/${program##*/}"
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
exit $((failures > 0))
