#!/usr/bin/env bash
# What is installed runs, also from a folder that was moved, and needs nothing of the build.
#
#   install_test.sh ZEL ZEL-SIM (both only show which build it is)
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../scripts" && pwd)
build=$(dirname "$1")
until [ -e "$build/CMakeCache.txt" ]; do build=$(dirname "$build"); done
work=$(mktemp -d)
simulator=
trap '[ -z "$simulator" ] || kill $simulator; wait; rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >"$work/log" || { cat "$work/log" && exit 1; }
mkdir "$work/moved"
mv "$work/first" "$work/moved/here"
bin=$work/moved/here/bin
cd "$work"

# The installed program by its name, whatever runs it.
installed() {
    local program=$1
    shift
    if [ -e "$bin/$program.exe" ]; then
        exec "$scripts/wine.sh" "$bin/$program.exe" "$@"
    fi
    exec env -u LD_LIBRARY_PATH "$bin/$program" "$@"
}

(installed zel version) | grep '^ZEL_VR_Framework [0-9]'
(installed zel-sim --port 0) >sim &
simulator=$!
for _ in $(seq 1200); do
    module=$(grep -om1 '127\.0\.0\.1:[0-9]*' sim) && break
    sleep 0.05
done
(installed zel get "$module" System/Name) | grep MOD-1
[ -e "$work/moved/here/include/ZEL_VR_Framework.h" ]
[ -e "$work/moved/here/include/zel/module.hpp" ]
