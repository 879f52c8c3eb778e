#!/usr/bin/env bash
# Proves that a check can fail: brings each of its faults, which faults.tsv lists, into a copy of the
# tree and expects the check to report it.
#   faults.sh SOURCE_DIR BUILD_DIR CHECK
set -euo pipefail
source_dir=$(realpath "$1") check=$3
BUILD=$(realpath "$2")
export BUILD
table=$source_dir/tests/package/faults.tsv

work=$(mktemp -d -p /var/tmp)  # the check of mutants covers /tmp
trap 'rm -rf "$work"' EXIT
mkdir "$work/tree"
tar -C "$source_dir" --exclude=./.git --exclude='./build*' --exclude=./fuzz/corpus -c . |
    tar -C "$work/tree" -x
mkdir "$work/made"
export WORK=$work/made
cd "$work/tree"

command=$(awk -F '\t' -v check="$check" '$1 == check && $2 == "=" { print $3 }' "$table")
[[ -n $command ]] || { echo "faults.tsv has no command for $check" >&2; exit 2; }

status=0

# run: the command; its status and output are kept.
run() {
    status=0
    bash -euo pipefail -c "$command" >"$work/log" 2>&1 || status=$?
}

# expect STATUS WHAT TEXT: of what ran; the output holds the text.
expect() {
    if [[ $status -eq 77 && $1 -ne 77 ]]; then
        cat "$work/log"
        exit 77
    fi
    if ! { [[ $1 == fault && $status -ne 0 ]] || [[ $status == "$1" ]]; } ||
        ! grep -qF -- "$3" "$work/log"; then
        cat "$work/log"
        echo "$check, $2: status $status, expected $1 with: $3" >&2
        exit 1
    fi
    echo "$2: ${3:-clean}"
}

# The path without a tool.
path_without() {
    local directory
    rm -rf "$work/path"
    mkdir "$work/path"
    while read -r directory; do
        find "$directory" -maxdepth 1 ! -type d ! -name "$1" -exec ln -s -t "$work/path" {} + \
            2>/dev/null || true
    done < <(tr : '\n' <<<"$PATH" | xargs -d '\n' realpath -e 2>/dev/null | awk '!seen[$0]++')
    echo "$work/path"
}

run
expect 0 "no fault" ""
rows=0
while IFS=$'\t' read -r _ file change text; do
    rows=$((rows + 1))
    if [[ $file == PATH ]]; then
        PATH=$(path_without "$change") run
        expect 77 "without $change" "$change is missing"
        continue
    fi
    if [[ $file != - ]]; then  # the change of the row before
        cp "$file" "$work/before"
        sed -E -i "$change" "$file"
        ! cmp -s "$file" "$work/before" || { echo "$file: nothing is changed by $change" >&2; exit 1; }
        run
        cp "$work/before" "$file"
    fi
    expect fault "$change" "$text"
done < <(awk -F '\t' -v check="$check" '$1 == check && $2 != "="' "$table")
((rows > 0)) || { echo "faults.tsv has no fault for $check" >&2; exit 1; }
