#!/usr/bin/env bash
# Builds the benchmarks, installing what they need, runs them and prints one table.
#   scripts/bench.sh [FILTER]    FILTER: a regular expression for the operations to measure
set -euo pipefail
cd "$(dirname "$0")/.."
filter=${1:-.}

scripts/install-deps.sh build bench
cmake --preset bench
cmake --build --preset bench

results=build/bench/results
rm -rf "$results"
mkdir -p "$results"
for program in build/bench/bench/qor_bench_*; do
    [[ -f $program && -x $program ]] || continue
    echo "Running ${program##*/}" >&2
    "$program" --benchmark_filter="$filter" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_repetitions="${QOR_BENCH_REPETITIONS:-9}" \
        --benchmark_min_time="${QOR_BENCH_MIN_TIME:-0.02}" \
        --benchmark_out="$results/${program##*/}.json" --benchmark_out_format=json >/dev/null
done
bench/table.py bench/goals.tsv "$results"/*.json
