#!/usr/bin/env bash
# Checks that a folder of src/ includes only its own internal headers and those of the layers
# before it, in the order of src/CMakeLists.txt, and that nothing but src/util/Paths.h spells
# the install root.
#   scripts/check-layers.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}/src"

mapfile -t layers < <(sed -n 's/^add_subdirectory(\(.*\))$/\1/p' CMakeLists.txt)
failures=0

level_of() {
    local i
    for i in "${!layers[@]}"; do
        [[ ${layers[i]} == "$1" ]] && { echo "$i"; return; }
    done
    echo "src/CMakeLists.txt does not list the folder $1" >&2
    exit 1
}

while IFS=: read -r file include; do
    from=$(level_of "$(dirname "${file#./}")")
    to=$(level_of "$(dirname "$include")")
    if ((to > from)); then
        echo "src/${file#./} includes $include, of a higher layer"
        failures=$((failures + 1))
    fi
done < <(grep -RHoE '^#include "[^"]*/[^"]*"' --include='*.h' --include='*.cpp' . |
    sed -E 's/#include "(.*)"/\1/')

while read -r file; do
    echo "src/${file#./} spells the install root; util/Paths.h is its home"
    failures=$((failures + 1))
done < <(grep -RlF '"/opt' --include='*.h' --include='*.cpp' . | grep -vx './util/Paths.h' || true)

((failures == 0)) && echo "${#layers[@]} layers, no violation"
exit $((failures > 0))
