#!/usr/bin/env bash
# Runs each example at the library's real paths, where nobody else sees it, and compares what it
# prints with expected/.
#   run.sh BUILD    BUILD: where the programs are
# shellcheck disable=SC2317 # functions are called through check
set -euo pipefail
here=$(dirname "$(realpath "$0")")
build=$(realpath "${1:?usage: run.sh BUILD}")

if [[ ${2:-} != inside ]]; then
    private=(unshare --mount)
    "${private[@]}" true 2>/dev/null || private=(unshare --user --map-root-user --mount)
    exec "${private[@]}" "$0" "$build" inside
fi

# What is needed below those directories stays in sight.
# A script in the place of a program, as for memcheck, finds the library itself.
library=$(ldd "$build/example_ini" 2>/dev/null |
    sed -nE 's/.*libqor_ComLib.* => (.*) \(0x.*/\1/p') || library=/dev/null
exec 7<"$library" 8<"$here" 9<"$build"
mount -t tmpfs -o mode=0755 tmpfs /opt
mount -t tmpfs -o mode=1777 tmpfs /var/tmp
mkdir -p "$here" "$build"
mount -c --bind /proc/self/fd/8 "$here"
mount -c --bind /proc/self/fd/9 "$build"
root=/opt/velmora/qor
mkdir -p "$root"/{um,som,etc,log}
cp "$here"/files/TraceSetting{,Msg}.ini "$root/um"
cp "$here/files/socket.conf" "$root/som"
cp "$here/files/qorversion.ver" "$root/etc"
work=/var/tmp/examples
mkdir -p "$work/lib"
[[ $library == /dev/null ]] || cp /proc/self/fd/7 "$work/lib/libqor_ComLib.so.1"
export LD_LIBRARY_PATH=$work/lib
exec 7<&- 8<&- 9<&-
failures=0

# check NAME COMMAND...: its output is expected/NAME.txt.
check() {
    local name=$1 status=0
    shift
    "$@" >"$work/$name.out" 2>"$work/$name.err" || status=$?
    if ((status == 0)) && diff -u "$here/expected/$name.txt" "$work/$name.out"; then
        echo "$name: as expected"
    else
        cat "$work/$name.err"
        echo "$name: exit status $status"
        failures=$((failures + 1))
    fi
}

# What differs from run to run becomes a word.
masked() {
    sed -E 's|^[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9:]{8}|TIME|; s|ThId:0x[0-9a-f]{8}|THREAD|' "$@"
}

write_logs() {
    "$build/example_logs"
    masked "$root"/log/QOR_um_trc_*.log "$root"/log/QOR_um_dbg_*.log
}

tail_log() {
    "$build/example_tail_log" um | masked
}

two_requests() {
    "$build/example_channel_server" 2 &
    local server=$!
    "$build/example_channel_client" "a small request"
    "$build/example_channel_client" "and another"
    wait "$server"
    find "$root/som/CS" "$root/som/SS" -type f
}

# Each server ends after half of the requests: both end only when none was served by both. Their
# clock moves in steps: no answer is lost when both draw one time stamp.
two_servers() {
    local half=400 i first second name
    for ((i = 0; i < 2 * half; i++)); do
        name=$root/som/CS/$(printf '9%019d' "$i")many
        printf 'request %d' "$i" >"$name.tmp"
        mv "$name.tmp" "$name.snd"
    done
    "$build/example_channel_server_coarse" "$half" &
    first=$!
    "$build/example_channel_server_coarse" "$half" &
    second=$!
    wait "$first"
    wait "$second"
    echo "$(find "$root/som/CS" -type f | wc -l) requests left"
    echo "$(grep -rhoxE '[0-9]+ tseuqer' "$root/som/SS" | sort -u | wc -l) different answers"
    find "$root/som/SS" -type f -delete
}

stack_trace() {
    "$build/example_exceptions" 2>"$work/stack"
    head -n 1 "$work/stack"
    echo "$(($(grep -c '^0x' "$work/stack") > 1)) at least two frames"
}

check ini "$build/example_ini" "$work/settings.ini"
check logs write_logs
check tail_log tail_log
check channel two_requests
check two_servers two_servers
check class_object "$build/example_class_object"
check text_record "$build/example_text_record"
check command_stream "$build/example_command_stream"
check xml_walk "$build/example_xml_walk" "$here/files/catalogue.xml"
check provider "$build/example_provider_host" "$here/files/providers.ini" "$build"
check host "$build/example_host"
check portability "$build/example_portability" "$work/window.ini"
check exceptions stack_trace
exit $((failures > 0))
