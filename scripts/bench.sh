#!/usr/bin/env bash
# Builds the benchmarks, installing what they need, runs them and prints the tables of
# bench/RESULTS.md. Fails when a goal is missed.
#   scripts/bench.sh [FILTER]    FILTER: a regular expression for the operations to measure
#     QOR_BENCH_REPETITIONS      of each operation; 9 unless set
#     QOR_BENCH_MIN_TIME         seconds of each; 0.02 unless set
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
cd "$(dirname "$0")/.."
filter=${1:-.}
build=build/bench
results=$build/results
profiles=$(uncovered "$PWD/$build/instructions")

{
    scripts/install-deps.sh build bench
    cmake --preset bench
    cmake --build --preset bench
} >&2

programs=()
for program in "$build"/bench/qor_bench_*; do
    [[ -f $program && -x $program ]] || continue
    chosen=$("$program" --benchmark_list_tests --benchmark_filter="$filter" 2>/dev/null)
    [[ -z $chosen ]] || programs+=("$program")
done
((${#programs[@]} > 0)) || { echo "No operation matches $filter" >&2; exit 2; }

seen_results=/dev/qor_tests/build/results  # in the programs' private mounts
rm -rf "$results"
mkdir -p "$results"
for program in "${programs[@]}"; do
    echo "Running ${program##*/}" >&2
    "$program" --benchmark_filter="$filter" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_repetitions="${QOR_BENCH_REPETITIONS:-9}" \
        --benchmark_min_time="${QOR_BENCH_MIN_TIME:-0.02}" \
        --benchmark_out="$seen_results/${program##*/}.json" --benchmark_out_format=json >/dev/null
done
echo "Counting instructions: $profiles" >&2
bench/instructions.py "$profiles" "$filter" "${programs[@]}"

printf '# Results of the benchmarks\n\n'
printf 'How to read them: [docs/performance.md](../docs/performance.md).\n'
printf 'Its pictures are drawn from the first table.\n\n'
status=0
bench/report.py "$results" "$profiles" || status=1
printf '\n## Memory\n\n'
"$build/bench/qor_memory" || status=1
printf '\n## Size and start-up\n\n'
bench/startup.py "$build" || status=1

printf '\n## Measured\n\n'
{
    echo "$(date +%F), commit $(git describe --always --dirty)"
    echo "$(nproc) x $(sed -n 's/^model name\s*: //p' /proc/cpuinfo | sed -n 1p)"
    uname -sr
    g++ --version | sed -n 1p
    ldd --version | sed -n 1p
} | sed 's/^/- /'
exit "$status"
