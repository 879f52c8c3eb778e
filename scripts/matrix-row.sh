#!/usr/bin/env bash
# What scripts/matrix.sh does in the private root of a row; it adds what the table says to /root/notes.
#   scripts/matrix-row.sh KIND [PROCESSOR]
set -euo pipefail

note() { echo "$*" >>/root/notes; }

versions() {
    note "g++ $("${1:-g++}" -dumpfullversion), CMake $(cmake --version | sed -n '1s/.* //p')," \
        "Boost $(dpkg-query -W -f '${Version}' libboost-dev | cut -d. -f1,2)," \
        "libxml2 $("${1:-g++}" -E -dM -include libxml/xmlversion.h -I /usr/include/libxml2 -x c /dev/null |
            sed -n 's/^#define LIBXML_DOTTED_VERSION "\(.*\)"/\1/p')"
}

# run_tests BUILD COMMAND...: the command runs the tests of that build. Those that were skipped run once more,
# for the log to show why.
run_tests() {
    local skipped
    "${@:2}" | tee /root/tested
    skipped=$(sed -nE 's/.* Test +#[0-9]+: ([^ ]+) .*\*\*\*Skipped.*/\1/p' /root/tested | paste -sd '|')
    note "$(sed -n 's/^100% tests passed.* out of //p' /root/tested | tail -n 1) tests pass," \
        "$(grep -c '\*\*\*Skipped' /root/tested || true) of them skipped"
    [[ -z $skipped ]] || (cd "$1" && ctest -V -R "^($skipped)\$")
}

# As ctest in a build of the kinds below.
ctest_of() {
    (cd "$1" && ctest --output-on-failure --parallel "$(nproc)" --timeout 600)
}

# configure BUILD OPTION...: without a warning of CMake's.
configure() {
    cmake -S . -B "$1" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQOR_WARNINGS_AS_ERRORS=ON \
        "${@:2}" 2>&1 | tee /root/configured
    if grep -A5 'CMake.*Warning' /root/configured; then return 1; fi
}

show_demo() {
    examples/one_request/run/run.sh show "$1"
    note demo
}

# The README's two commands, and the packages.
readme() {
    scripts/install-deps.sh build check
    versions
    run_tests build/all scripts/test.sh
    scripts/demo.sh
    note demo
    scripts/install-deps.sh package
    scripts/check-packages.sh
    note "packages, lintian silent"
}

unit_tests() {
    scripts/install-deps.sh
    versions
    configure build/units "$@"
    cmake --build build/units
    run_tests build/units ctest_of build/units
}

cross_build() {
    versions "$1-linux-gnu-g++"
    configure build/cross -DQOR_BUILD_EXAMPLES=ON -DCMAKE_SYSTEM_NAME=Linux "-DCMAKE_SYSTEM_PROCESSOR=$1" \
        "-DCMAKE_CXX_COMPILER=$1-linux-gnu-g++"
    cmake --build build/cross
    emulate "$1" scripts/matrix-row.sh emulated_tests
}

emulated_tests() {
    run_tests build/cross ctest_of build/cross
    show_demo build/cross
}

# One error, which says why.
refuse_32_bits() {
    versions "$1-linux-gnu-g++"
    if cmake -S . -B build/refused -G Ninja "-DCMAKE_CXX_COMPILER=$1-linux-gnu-g++" >/root/refused 2>&1; then
        return 1
    fi
    cat /root/refused
    [[ $(grep -c '^CMake Error' /root/refused) == 1 ]]
    grep 'is for 64-bit processors' /root/refused
    note "one message at configure time"
}

rpm_packages() {
    scripts/install-deps.sh build package
    versions
    scripts/check-rpm.sh | tee /root/built
    note "$(grep 'tests passed' /root/built); $(grep -c ' files$' /root/built) packages"
}

# emulate PROCESSOR COMMAND...: as root of a user namespace, in which programs for the processor run. Such a
# namespace has a list of binary formats of its own (binfmt_misc, Linux 6.7).
emulate() {
    local processor=$1 pid status=0
    shift
    mkfifo /root/made /root/mapped
    unshare --user --mount bash -euc '
        echo >/root/made
        read </root/mapped
        exec scripts/matrix-row.sh with_format "$@"' bash "$processor" "$@" &
    pid=$!
    read -r </root/made
    echo "0 0 4294967295" >"/proc/$pid/uid_map"
    echo "0 0 4294967295" >"/proc/$pid/gid_map"
    echo >/root/mapped
    wait "$pid" || status=$?
    return "$status"
}

# As the kernel's admin-guide/binfmt-misc.rst says: the first bytes of its programs, and which bits count.
with_format() {
    local id='\x02\x01\x01' type='\x02\x00' machine='\xb7\x00' mask='\xfe\xff'
    [[ $1 != s390x ]] || { id='\x02\x02\x01' type='\x00\x02' machine='\x00\x16' mask='\xff\xfe'; }
    mount -t binfmt_misc none /proc/sys/fs/binfmt_misc || {
        echo "binfmt_misc is not private on this kernel (Linux 6.7 is needed)" >/root/reason
        return 77
    }
    printf ':qor:M::\\x7fELF%s%s%s%s:%s%s:/usr/bin/qemu-%s:POCF' "$id" '\x00\x00\x00\x00\x00\x00\x00\x00\x00' \
        "$type" "$machine" '\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff' "$mask\xff\xff" \
        "$1" >/proc/sys/fs/binfmt_misc/register
    shift
    exec "$@"
}

case $1 in
full) readme ;;
units) unit_tests ;;
demo)
    unit_tests -DQOR_BUILD_EXAMPLES=ON
    show_demo build/units
    ;;
cross) cross_build "$2" ;;
with_format) with_format "${@:2}" ;;
emulated_tests) emulated_tests ;;
refuse) refuse_32_bits "$2" ;;
rpm) rpm_packages ;;
*) echo "There is no kind $1." >&2; exit 2 ;;
esac
