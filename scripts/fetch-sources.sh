#!/usr/bin/env bash
# Fetches the sources that the Windows build compiles itself, from the distribution that this machine
# already uses, into build/deps. Does nothing when they are there.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
deps=$root/build/deps

# A package, and a file by which its source is known.
declare -A wanted=([pugixml]=src/pugixml.cpp [hdf5]=src/H5public.h)
for package in "${!wanted[@]}"; do
    if compgen -G "$deps/$package-*/${wanted[$package]}" >/dev/null; then
        unset "wanted[$package]"
    fi
done
[ "${#wanted[@]}" -gt 0 ] || exit 0

export LC_ALL=C DEBIAN_FRONTEND=noninteractive
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/parts" "$work/lists/partial" "$work/source" "$deps"

# The machine's own sources, asked for source packages instead. Its configuration stays untouched.
for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$list" ] || continue
    sed -nE 's/^deb([[:space:]])/deb-src\1/p' "$list" >"$work/parts/$(basename "$list" .list)-src.list"
done
for list in /etc/apt/sources.list.d/*.sources; do
    [ -f "$list" ] || continue
    sed -E 's/^Types:.*/Types: deb-src/' "$list" >"$work/parts/$(basename "$list" .sources)-src.sources"
done

apt_with_sources() {
    apt-get -qq -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/parts" \
        -o Dir::State::lists="$work/lists" -o APT::Sandbox::User=root "$@"
}
apt_with_sources update
(cd "$work/source" && apt_with_sources source "${!wanted[@]}")

for package in "${!wanted[@]}"; do
    unpacked=$(find "$work/source" -mindepth 1 -maxdepth 1 -type d -name "$package-*" | head -n 1)
    if [ -z "$unpacked" ] || [ ! -f "$unpacked/${wanted[$package]}" ]; then
        echo "fetch-sources: the source package of $package came without ${wanted[$package]}" >&2
        exit 1
    fi
    # Into place in one step, so that an interrupted run leaves nothing half done.
    mv "$unpacked" "$deps/.$(basename "$unpacked").new"
    mv -T "$deps/.$(basename "$unpacked").new" "$deps/$(basename "$unpacked")"
done
