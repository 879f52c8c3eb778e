#!/usr/bin/env bash
# Builds the benchmarks, installing what they need, runs them and prints the tables of
# docs/performance.md. Fails when a goal is missed.
#   scripts/bench.sh [FILTER]    FILTER: a regular expression for the operations to measure
set -euo pipefail
cd "$(dirname "$0")/.."
filter=${1:-.}

scripts/install-deps.sh build bench
cmake --preset bench
cmake --build --preset bench

build=build/bench
results=$build/results
programs=()
for program in "$build"/bench/qor_bench_*; do
    [[ -f $program && -x $program ]] || continue
    chosen=$("$program" --benchmark_list_tests --benchmark_filter="$filter" 2>/dev/null)
    [[ -z $chosen ]] || programs+=("$program")
done

((${#programs[@]} > 0)) || { echo "No operation matches $filter" >&2; exit 2; }

rm -rf "$results"
mkdir -p "$results"
for program in "${programs[@]}"; do
    echo "Running ${program##*/}" >&2
    "$program" --benchmark_filter="$filter" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_repetitions="${QOR_BENCH_REPETITIONS:-9}" \
        --benchmark_min_time="${QOR_BENCH_MIN_TIME:-0.02}" \
        --benchmark_out="$results/${program##*/}.json" --benchmark_out_format=json >/dev/null
done

status=0
section() {
    printf '\n## %s\n\n' "$1"
    shift
    "$@" || status=1
}

section Times bench/table.py bench/goals.tsv "$results"/*.json
section Memory "$build/bench/qor_memory"
section 'Size and start-up' bench/startup.py "$build"
section Instructions bench/instructions.py bench/goals.tsv "$build/instructions" "$filter" \
    "${programs[@]}"
section Growth bench/growth.py "$build/instructions" "$results"/*.json

printf '\n## Machine\n\n'
sed -n 's/^model name\s*: //p' /proc/cpuinfo | sort | uniq -c
uname -sr
g++ --version | sed -n 1p
ldd --version | sed -n 1p
exit "$status"
