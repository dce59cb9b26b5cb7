#!/usr/bin/env bash
# Checks that the public headers serve those who do not build as this project does. C: cffi takes the
# header's preprocessed text, lays out every record as it says, and finds every export by it. C++: it
# is read without a warning by each compiler, whatever macros <windows.h> brings.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
header=include/ZEL_VR_Framework.h
gcc -E -P "$header" >"$work/as it stands"
gcc -E -P -DZEL_CDEF "$header" >"$work/with ZEL_CDEF"
x86_64-w64-mingw32-gcc -E -P -DZEL_CDEF "$header" | diff "$work/with ZEL_CDEF" - ||
    { echo "check-header: with ZEL_CDEF the text is another one for Windows" >&2 && exit 1; }

echo '#include <ZEL_VR_Framework.hpp>' >"$work/host.cpp"
sed '1i #include <windows.h>' "$work/host.cpp" >"$work/windows.cpp"
warnings=(-std=c++20 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror)
g++ "${warnings[@]}" -Iinclude -fsyntax-only "$work/host.cpp"
clang++-14 "${warnings[@]}" -Iinclude -fsyntax-only "$work/host.cpp"
x86_64-w64-mingw32-g++-posix "${warnings[@]}" -Iinclude -fsyntax-only "$work/windows.cpp"

# The distribution's own: another Python in front of it need not have the package.
/usr/bin/python3 -W ignore - "$header" build/linux/bin/libZEL_VR_Framework.so \
    "$work/as it stands" "$work/with ZEL_CDEF" <<'PYTHON'
import re, sys
import cffi

header, library, *texts = sys.argv[1:]
layout = re.findall(r"^ZEL_LAYOUT\(\w+\((\w+)(?:, (\w+))?\) == ([\d+* ]+)\);$", open(header).read(), re.M)
exports = open("src/api/ZEL_VR_Framework.def").read().split("EXPORTS")[1].split()
exports.remove("DllMain")
for path in texts:
    ffi = cffi.FFI()
    ffi.cdef(open(path).read(), pack=4)
    for record, member, expected in layout:
        found = ffi.offsetof(record, member) if member else ffi.sizeof(record)
        if found != eval(expected):
            sys.exit(f"check-header: {record} {member or 'as a whole'}: {found}, not {expected}")
    opened = ffi.dlopen(library)
    for name in exports:
        getattr(opened, name)
    if not re.fullmatch(rb"[\d.]+", ffi.string(opened.ZEL_XUTIL_GetDllVersion())):
        sys.exit("check-header: an export that is called by it does not answer")
print(f"cffi takes the header: {len(layout)} places of records, {len(exports)} exports")
PYTHON
