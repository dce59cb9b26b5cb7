#!/usr/bin/env bash
# Finds modules over two adapters, repairs one whose address fits nowhere, and talks to it by name.
#
#   lab_test.sh ZEL ZEL-SIM ...
set -uo pipefail
zel=$1
. "$(dirname "$0")/../support/module_network.sh"
simulator=$(real_simulator "$2") || exit 1
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$work"' EXIT
failed=0

in_modules_network ip address add 10.77.0.5/24 dev zelmodule1
in_modules_network "$simulator" --answer-scans --modules 100 --address 192.168.169.20 \
    >"$work/many" 2>&1 &
in_modules_network "$simulator" --answer-scans --uuid 0x77 --name LOST --address 10.77.0.5 \
    >"$work/lost" 2>&1 &
for _ in $(seq 200); do
    [ "$(cat "$work/many" "$work/lost" | wc -l)" -eq 101 ] && break
    sleep 0.05
done

# it_prints COUNT PATTERN ARGUMENT...: so many lines of the result match.
it_prints() {
    local count=$1 pattern=$2
    shift 2
    timeout 60 "$zel" "$@" 2>"$work/error" | tr -d '\r' >"$work/out"
    if [ "${PIPESTATUS[0]}" -ne 0 ] || [ "$(grep -cE "$pattern" "$work/out")" -ne "$count" ]; then
        failed=1
        echo "FAILED: zel $* prints not $count times '$pattern'"
        head -20 "$work/out" "$work/error"
    fi
}

it_prints 2 ' 192\.168\.(169|170)\.1 ' adapters
it_prints 100 '^192\.168\.169\.20:[0-9]+ +MOD-.* yes$' scan
it_prints 1 '^10\.77\.0\.5:55000 +LOST .* no$' scan
it_prints 0 LOST scan --adapter 0
it_prints 1 '^IpAdr +10\.77\.0\.5$' net show LOST
it_prints 1 'has taken the settings' net set 0x77 --address 192.168.170.25 --mask 255.255.255.0
it_prints 1 '^192\.168\.170\.25:55000 +LOST .* yes$' scan --adapter 1
it_prints 1 '^LOST$' get LOST System/Name
it_prints 1 '^  LOST, 192\.168\.170\.25: fine$' doctor
! timeout 60 "$zel" get NOBODY System/Name 2>"$work/error" || failed=1
grep -q "no module in the network answers to 'NOBODY'" "$work/error" || failed=1
[ "$failed" -eq 0 ] && echo "the network is as it should be"
exit "$failed"
