#!/usr/bin/env bash
# Cables of modules are pulled without a word, and modules come back.
#
#   pulled_cable_test.sh ZEL ZEL-SIM EVERY-CONNECTION STAYS-STARTED ...
set -uo pipefail
. "$(dirname "$0")/../support/module_network.sh"
simulator=$(real_simulator "$2") || exit 1
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$work"' EXIT
failed=0
idle=1 busy=2 moved=3

# start_module UUID ADDRESS
start_module() {
    : >"$work/$2"
    in_modules_network "$simulator" --uuid "$1" --address "$2" >"$work/$2" 2>&1 &
    until grep -q "$2" "$work/$2"; do sleep 0.05; done
}

coproc "$4" 2>&1
exec 8<&"${COPROC[0]}" 9>&"${COPROC[1]}"
# it_gives RESULT LINE
it_gives() {
    local result
    echo "$2" >&9
    read -r -t 30 result <&8
    [ "${result%$'\r'}" = "$1" ] || { failed=1; echo "FAILED: $2 gives '$result', not $1"; }
}

for uuid in $idle $busy $moved; do
    start_module $uuid 192.168.169.2$uuid
    it_gives 0 "connect 192.168.169.2$uuid"
done
# What they send each other goes nowhere; the cables next to both are as they were.
nowhere="lladdr 02:00:00:00:00:99 nud permanent"
in_modules_network ip neigh replace 192.168.169.1 dev zelmodule0 $nowhere
for uuid in $idle $busy $moved; do
    ip neigh replace 192.168.169.2$uuid dev zelhost0 $nowhere
done
pulled=$SECONDS
start_module $moved 192.168.170.2$moved
it_gives 0 "connect 192.168.170.2$moved"
it_gives 0 "read $moved"
it_gives -1000417 "read $busy"
sleep $((pulled + 13 - SECONDS))
it_gives -1000500 "read $idle"
# Under Wine nothing can be had that ends a connection with data on the way.
[ "$(head -c 2 "$2")" = '#!' ] || it_gives -1000500 "read $busy"
in_modules_network ip neigh del 192.168.169.1 dev zelmodule0
for uuid in $idle $busy; do
    ip neigh del 192.168.169.2$uuid dev zelhost0
    it_gives 0 "connect 192.168.169.2$uuid"
    it_gives 0 "read $uuid"
done
[ "$failed" -eq 0 ] && echo "pulled cables are noticed"
exit "$failed"
