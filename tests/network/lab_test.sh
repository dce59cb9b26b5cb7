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
in_modules_network "$simulator" --answer-scans --uuid 0x78 --name 'Test stand 3' \
    --address 192.168.170.26 --fault silence:1/10:x1 >"$work/stand" 2>&1 &
for _ in $(seq 200); do
    [ "$(cat "$work/many" "$work/lost" "$work/stand" | wc -l)" -eq 102 ] && break
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

# it_refuses PATTERN ARGUMENT...
it_refuses() {
    local pattern=$1
    shift
    if timeout 60 "$zel" "$@" >"$work/out" 2>"$work/error" || ! grep -qE "$pattern" "$work/error"; then
        failed=1
        echo "FAILED: zel $* does not say '$pattern'"
        cat "$work/error"
    fi
}

it_prints 2 ' 192\.168\.(169|170)\.1 ' adapters
it_prints 100 '^192\.168\.169\.20:[0-9]+ +MOD-.* yes$' scan
it_prints 1 '^10\.77\.0\.5:55000 +LOST .* no$' scan
it_prints 0 LOST scan --adapter 0
it_prints 1 '^IpAdr +10\.77\.0\.5$' net show LOST
it_refuses '192\.168\.169\.20 is the address of MOD-1 ' net set lost --address 192.168.169.20
it_refuses '192\.168\.55\.5 .* in the subnet of none .* 192\.168\.170\.0/24' \
    net set lost --address 192.168.55.5
it_refuses '255\.0\.255\.0 is no subnet mask' net set lost --mask 255.0.255.0
it_prints 1 'has the address 192\.168\.170\.25 ' \
    net set 0x77 --address 192.168.170.25 --mask 255.255.255.0
it_prints 1 '^192\.168\.170\.25:55000 +LOST .* yes$' scan --adapter 1
it_prints 1 '^  LOST, 192\.168\.170\.25:55000: fine, connected over TCP in [0-9.]+ ms, answers' doctor
grep -q '^  Test stand 3, .*: answers scans, but could not read' "$work/out" || failed=1
it_prints 1 '^MOD-10$' get mod-10 System/Name # not MOD-100
it_prints 1 '^Test stand 3$' get 'test st' System/Name
it_refuses "^zel: 100 modules answer to 'Mod': MOD-1 .*and others" get Mod System/Name

# A scan for a name ends when the name has answered.
began=$EPOCHREALTIME
it_prints 1 '^LOST$' get LOST System/Name
between=$EPOCHREALTIME
it_refuses "no module in the network answers to 'LAST'" get LAST System/Name
grep -q "did you mean 'LOST'" "$work/error" || failed=1
if [ $((${between/./} - ${began/./})) -ge $((${EPOCHREALTIME/./} - ${between/./})) ]; then
    failed=1
    echo "FAILED: a module that answers is not found sooner than one that is not there"
fi
# Where it was told to go, nobody hears it: that is said.
it_refuses 'has taken the settings, but answers no scan' net set LOST --address 192.168.170.99
[ "$failed" -eq 0 ] && echo "the network is as it should be"
exit "$failed"
