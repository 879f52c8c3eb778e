#!/usr/bin/env bash
# Installs what is missing, builds the fuzz programs with libFuzzer and the sanitizers, runs them
# and prints what came of each. Fails on a finding.
#   scripts/fuzz.sh [--keep] [SECONDS-PER-TARGET] [TARGET...]    60 seconds of processor time, all
#     --keep    adds to fuzz/corpus the new inputs that reach more of the code
set -euo pipefail
cd "$(dirname "$0")/.."
options=()
[[ ${1:-} != --keep ]] || { options=(--keep); shift; }
seconds=60
if [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi

scripts/install-deps.sh build check
cmake --preset fuzz
cmake --build build/fuzz --target fuzz_programs
QOR_FUZZ_SECONDS=$seconds exec fuzz/run.sh "${options[@]}" build/fuzz "$@"
