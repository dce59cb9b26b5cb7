#!/usr/bin/env bash
# Configures and builds one preset of CMakePresets.json.
#
#   build.sh PRESET [TARGET...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [ "$#" -eq 0 ]; then
    echo "usage: build.sh PRESET [TARGET...]   (linux, linux-asan, linux-tsan, windows, fuzz)" >&2
    exit 2
fi
preset=$1
shift
targets=()
if [ "$#" -gt 0 ]; then
    targets=(--target "$@")
fi

case $preset in
windows)
    scripts/install-packages.sh all
    scripts/fetch-sources.sh
    scripts/build-hdf5.sh
    ;;
fuzz) scripts/install-packages.sh all ;;
*) scripts/install-packages.sh ;;
esac

# Configuring is repeated only when nothing of it is there: afterwards the build looks after itself.
if [ ! -f "build/$preset/build.ninja" ]; then
    cmake --preset "$preset"
fi
cmake --build "build/$preset" "${targets[@]}"
