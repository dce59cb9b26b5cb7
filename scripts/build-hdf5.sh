#!/usr/bin/env bash
# Builds HDF5 for Windows from the source that fetch-sources.sh has fetched, into build/deps. Does
# nothing when that version is there.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
deps=$root/build/deps

source=$(find "$deps" -mindepth 1 -maxdepth 1 -type d -name 'hdf5-[0-9]*' | sort -V | tail -n 1)
if [ -z "$source" ]; then
    echo "build-hdf5: the source of HDF5 is missing: run scripts/fetch-sources.sh" >&2
    exit 1
fi
built=$deps/windows-$(basename "$source")
if [ -f "$built/lib/libhdf5_hl.a" ] && [ -f "$built/lib/libhdf5.a" ]; then
    exit 0
fi

work=$(mktemp -d "$deps/.hdf5.XXXXXX")
trap 'rm -rf "$work"' EXIT
log=$work/log
mkdir -p "$work/build" "$work/include/sys"
# It includes this one without needing anything of it; MinGW has none.
touch "$work/include/sys/wait.h"
# What a program of the configuration prints is looked for where the emulator leaves none: sizes of
# the largest floating-point type, in digits.
printf '21;0;' >"$work/build/pac_Cconftest.out"

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
echo "Building HDF5 for Windows"
# Its configuration leaves a file wherever it runs.
cd "$work/build"
run() {
    if ! "$@" >>"$log" 2>&1; then
        tail -n 40 "$log" >&2
        exit 1
    fi
}
run cmake -G Ninja -S "$source" -B "$work/build" "${launcher[@]}" -Wno-dev \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/windows-toolchain.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="-w -isystem $work/include" \
    -DCMAKE_INSTALL_PREFIX="$work/installed" \
    -DBUILD_SHARED_LIBS=OFF -DBUILD_STATIC_LIBS=ON -DBUILD_TESTING=OFF \
    -DHDF5_BUILD_TOOLS=OFF -DHDF5_BUILD_EXAMPLES=OFF -DHDF5_BUILD_CPP_LIB=OFF \
    -DHDF5_BUILD_HL_LIB=ON -DHDF5_ENABLE_Z_LIB_SUPPORT=ON -DZLIB_USE_EXTERNAL=OFF \
    -DHDF5_ENABLE_SZIP_SUPPORT=OFF -DHDF5_ENABLE_THREADSAFE=OFF
run cmake --build "$work/build"
run cmake --install "$work/build"
# Into place in one step, so that an interrupted run leaves nothing half done.
rm -rf "$built"
mv -T "$work/installed" "$built"
