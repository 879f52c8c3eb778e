#!/usr/bin/env bash
# Compiles and runs the first program of README.md, with the catalogue that it shows, in a mount
# namespace with an /opt of its own, and compares its output with the one that README.md shows.
#   readme_test.sh SOURCE_DIR LIBRARY CXX_COMPILER
set -euo pipefail
source=$1 library=$2 compiler=$3

work=$(mktemp -d)
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT  # logs of an ordinary user cannot be searched

# block LANGUAGE: the first one.
block() {
    awk -v fence="\`\`\`$1" '
        $0 == fence { inside = 1; next }
        inside && /^```$/ { exit }
        inside { print }' "$source/README.md"
}
block cpp >"$work/first.cpp"
block ini >"$work/TraceSettingMsg.ini"
block text >"$work/output"
for text in "$work"/{first.cpp,TraceSettingMsg.ini,output}; do
    [[ -s $text ]] || { echo "README.md shows no ${text##*/}" >&2; exit 1; }
done
expected=$(cat "$work/output")

flags=(-std=c++11 -Wall -Wextra -Wpedantic -Werror)
"$compiler" "${flags[@]}" "-I$source/include" "$work/first.cpp" -o "$work/first" "$library"
# Beside the program, since the build may lie below /opt.
cp "$library" "$work/libqor_ComLib.so.1"

as_root=()
[[ $EUID -eq 0 ]] || as_root=(--map-root-user)
install -D "$work/TraceSettingMsg.ini" "$work/opt/velmora/qor/um/TraceSettingMsg.ini"
output=$(unshare "${as_root[@]}" --mount sh -c \
    "mount --bind '$work/opt' /opt && LD_LIBRARY_PATH='$work' exec '$work/first'")

# Any time will do.
without_time() { sed -E 's#^[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} #TIME #'; }
diff -u <(without_time <<<"$expected") <(without_time <<<"$output")
[[ $(without_time <<<"$output") == "TIME "* ]] || { echo "no time in: $output" >&2; exit 1; }
echo "first program: $output"
