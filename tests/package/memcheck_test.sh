#!/usr/bin/env bash
# Programs under memcheck, in a checkout below /opt, which they cover, with blanks and a colon in its
# path.
#   memcheck_test.sh SOURCE_DIR BUILD_DIR PROGRAM...
set -euo pipefail
# shellcheck source=private.sh source-path=SCRIPTDIR
source "$(dirname "$0")/private.sh"
[[ ${QOR_PRIVATE_DISK:-} == yes ]] || enter_private "$0" "$@"
source_dir=$1 build=$2

check_out_below /opt "$source_dir" "$build"
# The logs stay in the real build tree where that can be.
XDG_RUNTIME_DIR=$build exec "$place/source/scripts/valgrind.sh" "$place/build" "${@:3}"
