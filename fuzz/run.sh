#!/usr/bin/env bash
# Runs fuzz targets that libFuzzer drives, as many at once as there are processors, and prints what
# came of each. Fails on a finding. New inputs stay in BUILD_DIR/fuzz/inputs for the next run. A
# file TARGET.options holds further options for the engine, one on a line.
#   fuzz/run.sh [--keep] BUILD_DIR [TARGET...]
#     --keep             adds to fuzz/corpus the new inputs that reach more of the code
#     QOR_FUZZ_SECONDS   of processor time for each target; 10 unless set
set -euo pipefail
source=$(cd "$(dirname "$0")/.." && pwd)
keep=false
[[ ${1:-} != --keep ]] || { keep=true; shift; }
build=$(cd "${1:?BUILD_DIR is missing}" && pwd)
shift
seconds=${QOR_FUZZ_SECONDS:-10}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "QOR_FUZZ_SECONDS is no number: $seconds" >&2; exit 2; }

known=()
for dictionary in "$source"/fuzz/*.dict; do
    known+=("$(basename "$dictionary" .dict)")
done
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=("${known[@]}")
for target in "${targets[@]}"; do
    [[ -x $build/fuzz/qor_fuzz_$target ]] || {
        echo "No program for $target in $build/fuzz; targets: ${known[*]}" >&2
        exit 2
    }
done

# The trees by the names that they have in the programs' private mounts.
seen_source=/dev/qor_tests/source
seen_build=/dev/qor_tests/build
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

# One target: what it prints goes to LOG, its seconds of processor time to LOG.times. The engine
# knows wall time only, so a target on a busy machine takes more than one round.
run() {
    local target=$1 log=$build/fuzz/logs/$1.log status=0 left=$seconds TIMEFORMAT='%U %S'
    local -r directories=("$build/fuzz/inputs/$target" "$build/fuzz/found/$target")
    local options=()
    mkdir -p "${directories[@]}"
    [[ ! -f $source/fuzz/$target.options ]] || mapfile -t options <"$source/fuzz/$target.options"
    touch "$log.begin"
    : >"$log"
    : >"$log.times"
    while [[ $left -gt 0 && $status == 0 ]]; do
        { time "$build/fuzz/qor_fuzz_$target" \
            "$seen_build/fuzz/inputs/$target" "$seen_source/fuzz/corpus/$target" \
            -dict="$seen_source/fuzz/$target.dict" \
            -artifact_prefix="$seen_build/fuzz/found/$target/" \
            -max_total_time="$left" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
            -print_final_stats=1 "${options[@]}" >>"$log" 2>&1; } 2>>"$log.times" || status=$?
        left=$(awk -v all="$seconds" '{ all -= $1 + $2 } END { printf "%d", all + 0.5 }' \
            "$log.times")
    done
    echo "$status" >"$log.status"
}

# The last number that follows WORD in FILE, or "-".
number() {
    local found
    found=$(grep -oE "$1 *[0-9]+" "$2" | tail -n 1 | grep -oE '[0-9]+$' || true)
    echo "${found:--}"
}

# The inputs of all rounds in FILE.
inputs() {
    awk '$1 == "stat::number_of_executed_units:" { all += $2 } END { printf "%d", all }' "$1"
}

report() {
    local target=$1 log=$build/fuzz/logs/$1.log files seconds result=none
    seconds=$(awk '{ all += $1 + $2 } END { printf "%.1f", all }' "$log.times")
    files=$(find "$build/fuzz/found/$target" -type f -newer "$log.begin" | wc -l)
    if [[ $files -gt 0 ]]; then
        result="$files in $build/fuzz/found/$target"
    elif [[ $(<"$log.status") != 0 ]]; then
        result="ended with status $(<"$log.status")"
    fi
    printf '%-20s %10s %9s %8s %6s  %s\n' "$target" \
        "$(inputs "$log")" \
        "$(awk -v all="$(inputs "$log")" -v time="$seconds" \
            'BEGIN { printf "%d", (time > 0) ? all / time : 0 }')" \
        "$seconds" \
        "$(number 'cov:' "$log")" "$result"
    [[ $result == none ]] || failed+=("$target")
}

mkdir -p "$build/fuzz/logs"
processors=$(nproc)
for target in "${targets[@]}"; do
    while [[ $(jobs -rp | wc -l) -ge $processors ]]; do
        wait -n
    done
    run "$target" &
done
wait

failed=()
printf '%-20s %10s %9s %8s %6s  %s\n' target inputs 'per sec.' 'CPU sec.' edges findings
for target in "${targets[@]}"; do
    report "$target"
done
for target in "${failed[@]}"; do
    printf '\n%s:\n' "$target"
    tail -n 60 "$build/fuzz/logs/$target.log"
done
[[ ${#failed[@]} -eq 0 ]] || exit 1

if [[ $keep == true ]]; then
    for target in "${targets[@]}"; do
        "$build/fuzz/qor_fuzz_$target" -set_cover_merge=1 -use_counters=0 -max_len=4096 \
            "$seen_source/fuzz/corpus/$target" "$seen_build/fuzz/inputs/$target" \
            >"$build/fuzz/logs/$target.merge.log" 2>&1 ||
            { tail -n 20 "$build/fuzz/logs/$target.merge.log"; exit 1; }
        echo "$target: $(find "$source/fuzz/corpus/$target" -type f | wc -l) inputs in the corpus"
    done
fi
