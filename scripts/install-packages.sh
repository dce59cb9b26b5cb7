#!/usr/bin/env bash
# Installs what the builds need and this machine lacks. Touches nothing when all is there.
#
#   install-packages.sh        to build and test on Linux
#   install-packages.sh bench  also what the benchmarks measure the library beside
#   install-packages.sh all    also for Windows, the fuzz targets, the format and the header check
set -euo pipefail
export LC_ALL=C DEBIAN_FRONTEND=noninteractive

packages=(
    g++ cmake ninja-build ccache
    libpugixml-dev libcli11-dev nlohmann-json3-dev libasio-dev libtomlplusplus-dev libhdf5-dev zlib1g-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    hdf5-tools python3-h5py python3-pandas
    iproute2 util-linux
)
if [ -n "${1:-}" ]; then
    packages+=(libmodbus-dev libzmq3-dev)
fi
if [ "${1:-}" = all ]; then
    packages+=(
        clang-14 libclang-rt-14-dev clang-format-14
        g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
        wine wine64 googletest dpkg-dev ca-certificates libz-mingw-w64-dev python3-cffi
    )
fi

missing=()
for package in "${packages[@]}"; do
    if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
        missing+=("$package")
    fi
done
if [ "${#missing[@]}" -eq 0 ]; then
    exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages: missing: ${missing[*]}" >&2
        echo "install-packages: run this script as root, or install them yourself" >&2
        exit 1
    fi
    as_root=(sudo "--preserve-env=DEBIAN_FRONTEND,LC_ALL")
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get -qq update
"${as_root[@]}" apt-get -qq -y -o Dpkg::Use-Pty=0 install --no-install-recommends \
    "${missing[@]}" >/dev/null
