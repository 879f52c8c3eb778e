# Sourced by tests that need mounts of their own.
# shellcheck shell=bash

# enter_private SCRIPT ARGUMENT...: runs the script again in a mount namespace of its own.
enter_private() {
    local private=(unshare --mount)
    "${private[@]}" true 2>/dev/null || private=(unshare --user --map-root-user --mount)
    exec "${private[@]}" env QOR_PRIVATE_DISK=yes "$@"
}

# cover DIRECTORY MODE TREE...: an empty disk there. Trees below it stay in sight.
cover() {
    local directory=$1 mode=$2 tree fd
    local -A kept=()
    for tree in "${@:3}"; do
        [[ $tree != "$directory"/* ]] || { exec {fd}<"$tree" && kept[$tree]=$fd; }
    done
    mount -t tmpfs -o "mode=$mode" tmpfs "$directory"
    for tree in "${!kept[@]}"; do
        fd=${kept[$tree]}
        mkdir -p "$tree"
        mount -c --bind "/proc/self/fd/$fd" "$tree"
        exec {fd}<&-
    done
}

# check_out_below DIRECTORY SOURCE_DIR BUILD_DIR: the trees are seen below that directory too, as
# $place/source and $place/build, with blanks and a colon in their path.
check_out_below() {
    cover "$1" 1777 "${@:2}"
    place="$1/qor: a checkout"
    mkdir -p "$place"/{source,build}
    mount --bind "$2" "$place/source"
    mount --bind "$3" "$place/build"
}

# install_component SOURCE_DIR: the settings of one that logs all, with compression, and its catalogue.
install_component() {
    mkdir -p /opt/velmora/qor/um
    sed 's/^TraceLevel=.*/TraceLevel=FF/' "$1/examples/basics/files/TraceSetting.ini" \
        >/opt/velmora/qor/um/TraceSetting.ini
    cp "$1/examples/basics/files/TraceSettingMsg.ini" /opt/velmora/qor/um
}
