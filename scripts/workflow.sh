#!/usr/bin/env bash
# Installs what is missing and runs a whole workflow: configure, build, and check.
#   scripts/workflow.sh NAME    NAME: one that "cmake --workflow --list-presets" prints
set -euo pipefail
cd "$(dirname "$0")/.."
name=${1:?NAME is missing; cmake --workflow --list-presets prints them}

groups=(build)
case $name in
    bench) groups+=(bench) ;;
    package) groups+=(check package) ;;
    *) groups+=(check) ;;
esac
scripts/install-deps.sh "${groups[@]}"

# Counters add up from run to run: earlier tests are not to count.
[[ $name != coverage || ! -d build/coverage ]] || find build/coverage -name '*.gcda' -delete
CTEST_PARALLEL_LEVEL=$(nproc) cmake --workflow --preset "$name"
