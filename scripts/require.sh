# Sourced by the checks.
# shellcheck shell=bash

# require TOOL...: where one is missing, ends with status 77, which ctest shows as skipped.
require() {
    local tool
    for tool in "$@"; do
        command -v "$tool" >/dev/null || {
            echo "$tool is missing: scripts/install-deps.sh check package" >&2
            exit 77
        }
    done
}
