#!/usr/bin/env bash
# Builds a proof program and runs its long form, which prints its figures. Fails on any violation.
#   scripts/proof.sh SUBJECT [OPTION...]    docs/reliability.md says what each proves
#     all
#         each of the following, one after the other
#     faults
#         every call that an operation makes fails
#     death
#         the process is killed at every system call of an operation
#     load
#         many clients on the channel, many threads and processes on a log, a clock that steps
#     leaks
#         every operation again and again: nothing is left, or exactly what is documented
#     sweeps
#         every operation on a small stack, among signals, on a thread that is cancelled
#     hostile
#         things of another account's at every fixed name, every operation beside them
# OPTION: --verbose prints each case, --only NAME runs the cases whose names begin so, --case ID one.
set -euo pipefail
subjects=(faults death load leaks sweeps hostile)
[[ " all ${subjects[*]} " == *" ${1:-none} "* ]] ||
    { sed -n '2,/^set/{/^set/d;s/^# \{0,1\}//;p;}' "$0" >&2; exit 2; }
subject=$1
shift

if [[ $subject == all ]]; then
    failed=()
    for subject in "${subjects[@]}"; do
        echo "$subject:"
        "$0" "$subject" || failed+=("$subject")
    done
    [[ ${#failed[@]} -eq 0 ]] || { echo "Violations: ${failed[*]}" >&2; exit 1; }
    exit 0
fi

where=$PWD
cd "$(dirname "$0")/.."
build=${QOR_PROOF_BUILD:-build/proof/programs}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQOR_BUILD_PROOFS=ON >"/dev/null"
cmake --build "$build" --target "qor_proof_$subject" >"/dev/null"
program=$(cd "$build" && pwd)/tests/proof/qor_proof_$subject
cd "$where"
exec "$program" --long "$@"
