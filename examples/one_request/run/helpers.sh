# shellcheck shell=bash
# What inside.sh and checks.sh are written in. To be sourced.

root=/opt/velmora/qor
PATH=$root/bin:$root/sbin:$PATH

service=   # process id, empty while the service does not run
starts=0   # of the service, so far
output=    # of the last command that expect ran
patience=30  # seconds until a condition counts as never coming true

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

section() {
    printf '\n== %s\n' "$*"
}

# expect STATUS PATTERN COMMAND...: runs the command, shows it with its output, and checks both.
expect() {
    local wanted=$1 pattern=$2 status=0
    shift 2
    output=$("$@" 2>&1) || status=$?
    printf '\n$ %s\n%s\n' "$*" "$output"
    [[ $status -eq 0 ]] || echo "(exit status $status)"
    [[ $status -eq $wanted ]] || fail "exit status $status instead of $wanted: $*"
    expect_output "$pattern"
}

# expect_output PATTERN: the last command's output has a line that matches.
expect_output() {
    grep -Eq -- "$1" <<<"$output" || fail "no line of the output matches: $1"
}

expect_no_output() {
    ! grep -Eq -- "$1" <<<"$output" || fail "a line of the output matches: $1"
}

# wait_until WHAT COMMAND...: until the command succeeds.
wait_until() {
    local what=$1 deadline=$((SECONDS + patience))
    shift
    until "$@"; do
        ((SECONDS < deadline)) || fail "waited in vain: $what"
        sleep 0.02
    done
}

is_gone() {
    [[ ! -e $1 ]]
}

service_runs() {
    [[ -n $service ]] && kill -0 "$service" 2>/dev/null
}

service_is_ready() {
    service_runs || fail "the service ended: $(cat "$root/som.output")"
    (($(cat "$root"/log/QOR_som_trc_*.log 2>/dev/null | grep -c 'Service started') == starts))
}

# start_service [PROVIDERS]: with that definition file. The service ends with this script, however
# that ends.
start_service() {
    starts=$((starts + 1))
    setpriv --pdeathsig TERM env "${@:2}" \
        qor_som --providers "$root/som/${1:-providers.ini}" >"$root/som.output" 2>&1 &
    service=$!
    wait_until "the service is ready" service_is_ready
    echo "The service runs."
}

service_has_ended() {
    ! service_runs
}

stop_service() {
    local status=0
    kill -TERM "$service"
    wait_until "the service ends" service_has_ended
    wait "$service" || status=$?
    service=
    echo "The service ended with exit status $status."
    [[ $status -eq 0 && ! -s $root/som.output ]] || fail "$(cat "$root/som.output")"
}

stop_service_at_once() {
    ! service_runs || kill -KILL "$service"
}

spooled_files() {
    find "$root/som/CS" "$root/som/SS" -mindepth 1
}
