#!/usr/bin/env bash
# Runs the example at its real paths, /opt/velmora/qor, where nobody else sees it.
#   run.sh show BUILD     good and failing requests, the answers and the logs
#   run.sh check BUILD    the same and every other case, as a test
#   run.sh call BUILD COMMAND...    the command, beside the running service; sees BUILD as /opt/build
# BUILD: the build tree; "show" needs its target "one_request", "check" needs all of it.
# Exit status: 0 when all went as it should.
# QOR_RUN_UNDER, in the environment: a command that runs tool and service, such as valgrind.
#
# The programs run in a mount namespace of their own with an empty /opt, as root or, where the
# kernel allows user namespaces, as an ordinary user.
set -euo pipefail

usage="usage: run.sh show|check BUILD, or run.sh call BUILD COMMAND..."
mode=${1:?$usage}
build=$(cd "${2:?$usage}" && pwd)
here=$(dirname "$(realpath "$0")")

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

cmake --install "$build" --component one_request --prefix "$stage" >/dev/null
[[ $mode != check ]] ||
    cmake --install "$build" --component one_request_check --prefix "$stage" >/dev/null

if unshare --mount true 2>/dev/null; then
    private=(unshare --mount)
elif unshare --user --map-root-user --mount true 2>/dev/null; then
    private=(unshare --user --map-root-user --mount)
else
    echo "No private mounts: run this as root, or allow user namespaces." >&2
    exit 1
fi
"${private[@]}" "$here/inside.sh" "$mode" "$stage" "$build" "${@:3}"
