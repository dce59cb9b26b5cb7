#!/usr/bin/env bash
# Checks what the built libraries show to the outside: all the exports of ZEL_VR_Framework.def and
# nothing else, undecorated, and for the DLL nothing but parts of Windows in its imports.
#
#   check-exports.sh linux|windows
set -euo pipefail
export LC_ALL=C
cd "$(dirname "${BASH_SOURCE[0]}")/.."

fail() {
    echo "check-exports: $*" >&2
    exit 1
}

# The names that stand below EXPORTS, with nothing before or after them.
wanted_names() {
    sed -e 's/;.*//' -e 's/\r$//' src/api/ZEL_VR_Framework.def |
        awk 'seen && NF { print $1 } toupper($1) == "EXPORTS" { seen = 1 }' | sort
}

check_names() {
    local library=$1 expected=$2 wanted=$3 found=$4
    [ "$(wc -l <<<"$wanted")" -eq "$expected" ] ||
        fail "ZEL_VR_Framework.def has $(wc -l <<<"$wanted") names for $library, expected $expected"
    diff --label wanted --label "$library" -u <(echo "$wanted") <(echo "$found") ||
        fail "$library does not export what it should"
    echo "$library exports exactly the $expected names"
}

# Every export has a host program in C that calls it.
check_called() {
    local name
    for name in $(wanted_names | grep -v '^DllMain$'); do
        grep -rqE "\\b$name[(,]" tests --include='*.c' || fail "no test in C calls $name"
    done
    echo "every export is called from C"
}

check_linux() {
    check_called
    local library=build/linux/bin/libZEL_VR_Framework.so
    check_names "$library" 128 "$(wanted_names | grep -v '^DllMain$')" \
        "$(nm -D --defined-only "$library" | awk '{ print $NF }' | sort)"
}

check_windows() {
    local library=build/windows/bin/ZEL_VR_Framework.dll
    local dump names stranger
    dump=$(x86_64-w64-mingw32-objdump -p "$library")
    names=$(awk '/^\[Ordinal\/Name Pointer\] Table/ { seen = 1; next }
                 seen && /^\t\[/ { print $NF; next }
                 seen { exit }' <<<"$dump" | sort)
    check_names "$library" 129 "$(wanted_names)" "$names"

    local parts='ADVAPI32|GDI32|IPHLPAPI|KERNEL32|MSVCRT|MSWSOCK|NTDLL|OLE32|OLEAUT32|RPCRT4'
    parts+='|SHELL32|SHLWAPI|USER32|VERSION|WS2_32'
    stranger=$(sed -nE 's/^\tDLL Name: (.*)$/\1/p' <<<"$dump" | grep -viE "^($parts)\.dll$" || true)
    [ -z "$stranger" ] || fail "$library needs what Windows does not have: $stranger"
    echo "$library needs nothing but Windows: $(sed -nE 's/^\tDLL Name: //p' <<<"$dump" | xargs)"

    # Resource texts are UTF-16.
    grep -aq "$(printf 'F\\x00i\\x00l\\x00e\\x00V\\x00e\\x00r\\x00s\\x00i\\x00o\\x00n')" -P "$library" ||
        fail "$library has no version resource"
}

case ${1:-} in
linux) check_linux ;;
windows) check_windows ;;
*)
    echo "usage: check-exports.sh linux|windows" >&2
    exit 2
    ;;
esac
