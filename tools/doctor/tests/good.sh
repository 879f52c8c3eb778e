# shellcheck shell=sh
# What the commands of cases.txt begin with: an installation without fault in /opt/velmora/qor, the
# current directory, and functions that are short for what its files hold. To be sourced.
#   BUILD    the build tree

umask 022
rm -rf /opt/velmora
mkdir -p /opt/velmora/qor
cd /opt/velmora/qor || exit

# stamp SECONDS: what the name of a message begins with that was made so long ago.
stamp() {
    printf '%014d000000' $(($(date +%s) - $1))
}

# provider NUMBER CLASS LIBRARY [LINE...]: a section of a provider definition file; the lines stand
# in place of a kind, a mode and a method.
provider() {
    printf '[Provider%s]\nProviderKind=any\nLibName=%s\nClassName=%s\nSpecificFile=\n' "$1" "$3" "$2"
    shift 3
    [ $# -gt 0 ] || set -- ClassKind=VELMORA_ToolService ClassMode=FIXED_TOOL MethodNum=1 Method1=Ask
    printf '%s\n' "$@"
}

# providers COUNT: the beginning of a provider definition file.
providers() {
    printf '[Common]\nNumProvider=%s\n' "$1"
}

# message ID [KEY=VALUE...]: an entry of a message catalogue; "-KEY" leaves a key out.
message() {
    echo "[$1]"
    shift
    for key in FormatEng=text Type=info Read=0x00000001 Event=0; do
        for change; do
            case $change in "${key%%=*}="* | "-${key%%=*}") key= ;; esac
        done
        [ -z "$key" ] || echo "$key"
    done
    for change; do
        case $change in [!-]*) printf '%s\n' "$change" ;; esac
    done
}

# settings COMPONENT LINE...
settings() {
    component=$1
    shift
    printf '%s\n' '[APP_SETTING]' "$@" >"$component/TraceSetting.ini"
}

# zeros COUNT: so many of them.
zeros() {
    printf "%0$1d" 0
}

# index COUNT: the beginning of a vendor factory file. device NAME: a section of one.
index() {
    printf '[SuportDevice]\nSuportDeviceNum=%s\n' "$1"
}
device() {
    printf '[%s]\nDllName=Good.dll\nClassName=C\n' "$1"
}

# channel LINE...: the settings of the channel.
channel() {
    printf '%s\n' '[filetran]' "$@" >som/socket.conf
}

# tmpfiles FILE LINE...: a file of tmpfiles.d(5), in a directory that is empty but for such files.
tmpfiles() {
    case $emptied in *"${1%/*}"*) ;; *)
        mkdir -p "${1%/*}"
        mount -t tmpfs tmpfs "${1%/*}"
        emptied="$emptied ${1%/*}" ;;
    esac
    printf '%s\n' "$@" | sed 1d >"$1"
}
emptied=

# Root gives the file away. Root of a user namespace has nobody to give it to, but a file of the
# host's root is a stranger's.
give_away() {
    touch "$1"
    chown 1 "$1" 2>/dev/null || mount --bind /usr/lib/os-release "$1"
}

# Moving it would fail for an ordinary user.
remove_gzip() {
    cp /usr/bin/gzip /opt
    rm -f /usr/bin/gzip
}

mkdir um cli etc lib log provider som som/CS som/SS
chmod 0700 log
chmod 2770 som/CS som/SS
for component in um som cli provider; do
    settings $component TraceLevel=5F Lang=EN
    {
        echo '; a comment'
        # shellcheck disable=SC2016 # positions of arguments, no variables
        message STARTED 'FormatEng=Started %s, %d%% done' 'Format=%2$d%% von %1$s begonnen'
        echo
        message FAILED 'FormatEng=Failed: %-10s %#08lx' 'Format=Gescheitert: %s %lu' Type=fail \
            Read=0x0000000A Event=1
    } >"$component/TraceSettingMsg.ini"
done
cp "$BUILD/tests/plugins/qor_provider_plugin.so" provider/libqorp_Good.so
cp "$BUILD/tests/plugins/qor_vendor_plugin.so" lib/libqorp_Good.so
{ providers 1; provider 1 Inventory Good.dll; } >som/providers.ini
{ index 1; device Disk; } >etc/vendors.ini
printf '[SOM]\nTargetNum=1\nTargetName1=qor_som\nVersion1=1.0\n' >etc/qorversion.ver
channel polling_interval=1000
echo "a request on its way" >"som/CS/$(stamp 0)cli.snd"
echo "a request being written" >"som/CS/$(stamp 0)cli.tmp"
echo "an answer on its way" >"som/SS/$(stamp 0)cli.snd"
echo "an answer being written" >"som/SS/$(stamp 0)cli.tmp"
touch log/QOR_um_trc_261115082918.log.gz log/QOR_um_trc_261116082918.log \
    log/QOR_um_dbg_261116082918.log

# The case's commands come here; then diagnose, which runs the doctor, sees that it changes nothing,
# and that --json has the same findings. Its status is the doctor's.
PATH=$BUILD/tools/doctor:$PATH
doctor=qor_doctor
options=

state() {
    find /opt /var/tmp -printf '%p %y %m %U %G %s %l %T@ %C@\n' | sort
    find /opt /var/tmp -type f -exec sha256sum {} + | sort
}

# shellcheck disable=SC2086 # command and options are several words
diagnose() {
    before=$(state)
    text=$($doctor $options 2>&1)
    status=$?
    printf '%s\n' "$text"
    same=$(printf '%s\n' "$text" | sed -nE 's/^[^ ].*: (error|warning): ([a-z-]+)$/\2/p')
    json=$($doctor --json $options 2>/dev/null | grep -o '"id": "[a-z-]*"' | cut -d '"' -f 4)
    [ "$json" = "$same" ] || echo "--json has other findings: $json"
    [ "$before" = "$(state)" ] || echo "something was changed"
    return $status
}

# For the next case of a run of the whole program: what lies outside of /opt and /var/tmp.
clean_up() {
    chmod 1777 /var/tmp
    rm -f /tmp/motd
    [ ! -e /opt/gzip ] || cp /opt/gzip /usr/bin
    # shellcheck disable=SC2086 # several words
    umount um/given-away log small $emptied 2>/dev/null
}
trap clean_up EXIT
