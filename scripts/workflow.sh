#!/usr/bin/env bash
# Installs what is missing and runs a whole workflow: configure, build, and check.
#   scripts/workflow.sh NAME    NAME: one that "cmake --workflow --list-presets" prints
set -euo pipefail
cd "$(dirname "$0")/.."
name=${1:?NAME is missing; cmake --workflow --list-presets prints them}

[[ $name != package || $EUID -eq 0 ]] || {
    echo "The workflow package needs root, to mount a fresh Debian; scripts/check-packages.sh does not" >&2
    exit 1
}

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
