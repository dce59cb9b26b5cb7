#!/usr/bin/env bash
# Runs a Windows program under Wine: no display, no chatter, its drive C below build/.
#
# Inside a private network every run has a Wine of its own. Wine's server opens the sockets for all
# programs of a prefix, so a server from outside would take them out of the private network.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEDEBUG=${WINEDEBUG:--all}
# Neither browser nor .NET nor menus: their installers would open windows.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree=;mshtml=;winemenubuilder.exe=}
unset DISPLAY
# Wine reads arguments and file names by the locale; a bare machine has none that knows UTF-8.
export LC_ALL=C.UTF-8

template=$root/build/wine
# Wine's server makes its folder here.
export TMPDIR=$root/build
make_template() {
    mkdir -p "$root/build"
    # The first run makes it; runs that start at the same time wait here.
    (
        flock 9
        if [ ! -e "$template/.ready" ]; then
            rm -rf "$template"
            WINEPREFIX=$template wine wineboot -i >/dev/null 2>&1
            WINEPREFIX=$template wineserver -w
            touch "$template/.ready"
        fi
    ) 9>"$template.lock"
}

# The system files are shared with the template, the registry and the users' files are copies.
make_private_prefix() {
    # Programs that start at the same time wait for the first one, and have the whole of it.
    exec 9>"$WINEPREFIX.lock"
    flock 9
    [ ! -e "$WINEPREFIX/.ready" ] || return 0
    mkdir -p "$WINEPREFIX/drive_c"
    cp -a "$template"/*.reg "$template"/.update-timestamp "$template"/dosdevices "$WINEPREFIX"
    cp -a "$template/drive_c/users" "$WINEPREFIX/drive_c"
    ln -s "$template/drive_c/windows" "$template/drive_c/Program Files" \
        "$template/drive_c/Program Files (x86)" "$template/drive_c/ProgramData" "$WINEPREFIX/drive_c"
    touch "$WINEPREFIX/.ready"
}

if [ -z "${WINEPREFIX:-}" ]; then
    make_template
    if [ -n "${ZEL_MODULE_NETWORK:-}" ]; then
        # This folder goes away with the private network, and with it what Wine's server leaves.
        private=$(dirname "$ZEL_MODULE_NETWORK")
        export WINEPREFIX=$private/wine TMPDIR=$private
        [ -e "$WINEPREFIX/.ready" ] || make_private_prefix
        exec 9>&-
    else
        export WINEPREFIX=$template
    fi
fi
exec wine "$@"
