# Sourced by the checks and the benchmarks.
# shellcheck shell=bash

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# read_paths: the library's fixed paths, by their names in src/base/Paths.h, into the array path.
read_paths() {
    local name value
    declare -gA path
    while read -r name value; do
        # shellcheck disable=SC2034 # the caller's
        path[$name]=$value
    done < <(scripts/list-paths.sh)
}

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

# require_version TOOL VERSION: where the tool is missing, or has another version than the check was
# written for, ends with status 77. Other versions find other things.
require_version() {
    require "$1"
    local version
    version=$("$1" --version | grep -oE '[0-9]+(\.[0-9]+)+' | head -n 1)
    [[ $version == "$2" || $version == "$2".* ]] || {
        echo "$1 is of version $version; the check was written for $2" >&2
        exit 77
    }
}

# compilers: every g++ and clang++ in the PATH, each once.
compilers() {
    local name
    {
        printf '%s\n' g++ clang++
        compgen -c | grep -xE '(g|clang)\+\+-[0-9]+' | sort -Vu
    } | while read -r name; do
        echo "$(realpath "$(command -v "$name")") $name"
    done | awk '!seen[$1]++ { print $2 }'
}

# is_unfit DIRECTORY: private mounts put another one in its place, or a command line would split it.
is_unfit() { [[ $1/ =~ ^/(opt|tmp|var/tmp|etc|dev)/ || $1 =~ [[:space:]] ]]; }

# uncovered DIRECTORY: prints it, or the name of one in its place that programs can write to which
# entered private mounts after their tool opened files there. Where there is none, ends with status 77.
uncovered() {
    local place
    is_unfit "$1" || { echo "$1"; return; }
    for place in "${XDG_RUNTIME_DIR:-}" /run "${HOME:-}"; do
        is_unfit "$place" || [[ ! -w $place ]] || {
            echo "$place/qor_${1##*/}.$(cksum <<<"$1" | cut -d ' ' -f 1)"
            return
        }
    done
    echo "No place for ${1##*/}: private mounts cover $1, and HOME is unfit too (${HOME:-not set})" >&2
    exit 77
}
