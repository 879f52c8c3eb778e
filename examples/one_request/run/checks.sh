# shellcheck shell=bash
# The cases that the demo does not show. To be sourced.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/inventory.sh"

check_usage() {
    section "Usage"
    expect 0 '^Usage: qor_cli' qor_cli --help
    expect 2 'a class and a method are needed' qor_cli
    expect 2 'a class and a method are needed' qor_cli Inventory
    expect 2 "'In.ventory' is no class name" qor_cli In.ventory Host
    expect 2 "'Ho;st' is no method name" qor_cli Inventory 'Ho;st'
    expect 2 "'Section' is no parameter" qor_cli Inventory Host Section
    expect 2 "'=x' is no parameter" qor_cli Inventory Host =x
    expect 2 "'A' is given twice" qor_cli Inventory Host A=1 A=2
    expect 2 'unrecognized option' qor_cli --nonsense
    expect 2 "'0' is no number of seconds" qor_cli --wait 0 Inventory Host
    expect 2 "'yesterday' is no time stamp" qor_cli --log som --since yesterday
    expect 2 '--log takes no class' qor_cli --log som Inventory Host
    expect 5 'output cannot be written' bash -c 'qor_cli --help >/dev/full'
    expect 0 '^Usage: qor_som' qor_som --help
    expect 0 '^qor_cli, an example of libqor_ComLib [0-9.]+$' qor_cli --version
    expect 0 '^qor_som, an example of libqor_ComLib [0-9.]+$' qor_som --version
    expect 2 "Try 'qor_som --help'" qor_som nonsense
}

check_answers() {
    section "Answers"
    expect 0 '^ulong;\.Result\.ReturnValue;0;$' qor_cli --records Inventory Host
    expect_output "^string;\.Result\.HostName;$(uname -n);$"
    expect_output '^bool;\.Result\.SwapEnabled;(true|false);$'
    expect_output '^string\[\];\.Result\.LoadAverages;([0-9]+\.[0-9]{2}!#){3};$'
    expect_output '^class;\.Result\.Memory;;$'

    expect 0 '^Memory$' qor_cli Inventory Host Section=Memory
    expect_no_output '^Processor$'
    expect 1 '0x80041008: Section must be' qor_cli Inventory Host 'Section=a;b'
    expect 1 '^ulong;\.Result\.ReturnValue;2147749896;$' \
        qor_cli --records Inventory Host Section=Disk
    expect 3 'refused: class "Inventory" has no method "Reboot"' qor_cli Inventory Reboot
    expect 5 'holds a text that no record carries' qor_cli Inventory Host 'Section=%!@'
}

# send_raw TEXT: puts a request into the spool without the tool and shows the answer.
send_raw() {
    local name=99999999999999999999raw
    printf '%s' "$1" >"$root/som/CS/$name.tmp"
    mv "$root/som/CS/$name.tmp" "$root/som/CS/$name.snd"
    wait_until "an answer to $1" test -e "$root/som/SS/$name.snd"
    cat "$root/som/SS/$name.snd"
    rm "$root/som/SS/$name.snd"
}

check_bad_requests() {
    section "Requests that the tool would not send"
    expect 0 '^string;\.Outcome;refused;.*the request is empty' send_raw ''
    expect 0 'refused;.*record 1 is malformed' send_raw 'garbage'
    expect 0 'refused;.*record 1 is malformed' send_raw "$(head -c 5000 /dev/urandom | base64)"
    expect 0 'refused;.*names no class' send_raw 'int;.Class;7;'
    expect 0 'refused;.*names no method' send_raw 'string;.Class;Inventory;'
    expect 0 'refused;.*holds no parameters' \
        send_raw 'string;.Class;Inventory;string;.Method;Host;'
    expect 0 'refused;.*record 3 is malformed' \
        send_raw 'string;.Class;Inventory;string;.Method;Host;class;.Parameters;x;'
    expect 0 'refused;.*nested too deeply' send_raw "$(nested_objects 40)"
    expect 0 'refused;.*too long' send_raw_file <(head -c 1100000 /dev/zero | tr '\0' x)
}

nested_objects() {
    local path='' i
    for ((i = 0; i < $1; ++i)); do
        path+=.a
        printf 'class;%s;;' "$path"
    done
}

# send_raw_file FILE: as send_raw; for texts that are too long for an argument.
send_raw_file() {
    local text
    text=$(cat "$1")
    send_raw "$text"
}

check_second_service() {
    section "A second service"
    expect 3 "qor_som: another service takes the requests in $root/som/CS$" timeout 30 qor_som
    expect 0 '^HostName' qor_cli Inventory Host
}

check_unreadable_request() {
    section "A request that cannot be read"
    expect 0 'failed;.*the request cannot be read: Input/output error' send_raw unreadable
}

check_garbage_library() {
    local library=$root/provider/libqorp_Battery.so
    section "A library that is none"
    echo garbage >"$library"
    expect 1 'cannot be loaded' qor_cli Battery Charge
    rm "$library"
}

check_several_clients() {
    local clients=() client i
    section "Several clients at once"
    for i in {1..8}; do
        qor_cli --records Inventory Host >"$root/client.$i" &
        clients+=($!)
    done
    for client in "${clients[@]}"; do
        wait "$client" || fail "a client failed"
    done
    (($(cat "$root"/client.* | grep -c '^string;\.Outcome;done;$') == 8)) || fail "answers differ"
    echo "8 clients were answered."
}

# What the service has open between two requests; the scan of the client directory comes and goes,
# also while this looks.
open_descriptors() {
    { find "/proc/$service/fd" -mindepth 1 -printf '%l\n' 2>/dev/null || true; } |
        grep -cvx -e "$root/som/CS" -e ''
}

has_open_descriptors() {
    (($(open_descriptors) == $1))
}

check_fail_records() {
    section "Every failure is in the operation log"
    expect 0 'fail .*the request is empty' qor_cli --log som
    expect_output 'fail .*record 1 is malformed'
    expect_output 'fail .*class "Inventory" has no method "Reboot"'
    (($(grep -c ' fail .*Battery' <<<"$output") == 2)) || fail "not every failure has a record"
    expect_no_output 'Message ID Not Found'
    expect 0 'fail    Method Host returned 0x80041008' qor_cli --log inventory
    expect 0 '^$' qor_cli --log som --since '2999/12/31 00:00:00'
}

check_missing_logs() {
    local logs=$root/log current before
    section "Logs that are not there"
    before=$(ls -l "$logs")
    expect 6 '^qor_cli: there is no operation log of "um"; there are logs of: cli, inventory, som$' \
        qor_cli --log um
    expect 6 '^qor_cli: there is no operation log of "SOM", but one of "som"$' qor_cli --log SOM
    expect 6 'no operation log of "so"; ' qor_cli --log so
    expect 6 'no operation log of "";' qor_cli --log ''
    expect 6 'no operation log of "../log/som";' qor_cli --log ../log/som
    [[ $(ls -l "$logs") == "$before" ]] || fail "something was left among the logs"

    current=$(echo "$logs"/QOR_inventory_trc_*.log)
    mv "$current" "$current.saved"
    ln -s "$current.saved" "$current"
    expect 6 "^qor_cli: $current cannot be read: Too many levels" qor_cli --log inventory
    rm "$current"
    gzip -c "$current.saved" >"$current.gz"
    expect 6 'every operation log of "inventory" is compressed: zcat ' qor_cli --log inventory
    rm "$current.gz"
    mv "$current.saved" "$current"
    without_privileges "$current" "^qor_cli: $current cannot be read: Permission denied$"
    without_privileges "$logs" "^qor_cli: the logs in $logs cannot be read: Permission denied$"
    without "$logs" expect 6 "the logs in $logs cannot be read: No such file" qor_cli --log som
}

# without_privileges PATH PATTERN: the tool is refused the path.
without_privileges() {
    local mode
    mode=$(stat -c %a "$1")
    chmod 0 "$1"
    expect 6 "$2" setpriv --bounding-set=-all --inh-caps=-all qor_cli --log inventory
    chmod "$mode" "$1"
}

# on_terminal COMMAND...: script(1) gives it one.
on_terminal() {
    SHELL=/bin/bash script --quiet --return --command "${*@Q}" /dev/null | tr -d '\r'
}

check_second_language() {
    section "The second language"
    sed -i 's/^Lang=EN$/Lang=DE/' "$root/cli/TraceSetting.ini"
    expect 0 '^HostName' qor_cli Inventory Host
    expect 0 'info    Inventory\.Host beantwortet' qor_cli --log cli
}

check_provider_in_second_language() {
    section "The provider in the second language"
    stop_service
    sed -i 's/^Lang=EN$/Lang=DE/' "$root/provider/TraceSetting.ini"
    start_service providers.ini
    expect 0 '^Components$' qor_cli Inventory Versions
    expect 0 '^Vendors$' qor_cli Inventory Vendors
    expect 0 'info    2 von 6 Komponenten brauchen ein Update' qor_cli --log inventory
    expect_output 'fail    Eintragungen der Herstellerdatei, die keine Bibliothek bedient: 1'
}

check_without_service() {
    local late=$root/som/SS/00000000000000000001cli.snd
    section "Without the service"
    stop_service
    expect 4 'no answer: the time is over' qor_cli --wait 1 Inventory Host
    [[ -z $(spooled_files) ]] || fail "the request was not withdrawn: $(spooled_files)"
    expect 4 '^qor_cli: waiting for qor_som to take the request; giving up after about 3 seconds$' \
        on_terminal qor_cli --wait 3 Inventory Host
    expect_output 'no answer: the time is over'
    expect 4 'no answer: the time is over' qor_cli --wait 3 Inventory Host
    expect_no_output 'giving up'

    start_service providers.ini
    touch "$late"
    wait_until "the answer that nobody collected is gone" is_gone "$late"
    expect 0 '^HostName' qor_cli Inventory Host
}

check_bad_providers() {
    section "Providers that misbehave"
    stop_service
    # Sanitizers want to be loaded first.
    start_service trouble.ini "ASAN_OPTIONS=${ASAN_OPTIONS:-}:verify_asan_link_order=0" \
        "LD_PRELOAD=$root/provider/libqorp_NoRead.so"
    check_unreadable_request
    expect 1 'first line\?second line x{100}' qor_cli Trouble ThrowException
    expect 1 'thrown by pointer' qor_cli Trouble ThrowPointer
    expect 1 'the provider failed' qor_cli Trouble ThrowNumber
    expect 1 'returned no status' qor_cli Trouble ReturnNoStatus
    expect 1 '"\.Result\.A" is of a type that no record carries' qor_cli Trouble ReturnBadValue
    expect 1 'qor_cli: [^ ]' qor_cli Trouble Unknown
    expect 1 'libqorp_NoFactory\.so" cannot be loaded' qor_cli NoFactory Any
    expect 0 '^  b;c$' qor_cli Trouble ReturnTable
    expect_output '^  Name  Speed$'
    expect 0 '^qor_cli: qor_som is at work; giving up after about 60 seconds$' \
        on_terminal qor_cli --wait 60 Trouble TakeTime
    expect 0 'fail .*thrown by pointer' qor_cli --log som
}

check_bad_settings() {
    local settings=$root/bad.conf
    section "Bad settings"
    printf '[filetran]\npolling_interval=0\n' >"$settings"
    expect 5 'polling_interval .* is not positive' qor_cli --config "$settings" Inventory Host
    expect 1 'polling_interval .* is not positive' qor_som --config "$settings"
    printf '[filetran]\nclientdir=/nowhere/CS\n' >"$settings"
    expect 5 'cannot be sent: No such file' qor_cli --config "$settings" Inventory Host
    expect 1 '/nowhere/CS: No such file' qor_som --config "$settings"
    printf '[Common]\nNumProvider=1\n[Provider1]\nProviderKind=x\n' >"$settings"
    stop_service
    expect 1 'LibName Not Found' qor_som --providers "$settings"
    start_service providers.ini
}

check_the_rest() {
    local before
    check_usage
    before=$(open_descriptors)
    check_answers
    check_system
    check_devices
    check_versions
    check_vendors
    check_bad_requests
    check_garbage_library
    check_second_service
    check_several_clients
    wait_until "the service keeps no descriptor of a request" has_open_descriptors "$before"
    check_fail_records
    check_missing_logs
    check_second_language
    check_without_service
    check_provider_in_second_language
    check_bad_providers
    check_bad_settings
}
