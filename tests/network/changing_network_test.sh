#!/usr/bin/env bash
# Scans on a host where not all is well: several programs scan at once, ports are taken, adapters
# are missing, go and come.
#
#   changing_network_test.sh ZEL ZEL-SIM EVERY-CONNECTION STAYS-STARTED ...
set -uo pipefail
zel=$1
. "$(dirname "$0")/../support/module_network.sh"
simulator=$(real_simulator "$2") || exit 1
host=$4
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$work"' EXIT
failed=0

# start_modules NAME COUNT ARGUMENT...
start_modules() {
    local name=$1 count=$2
    shift 2
    : >"$work/$name"
    nsenter --net="$ZEL_MODULE_NETWORK" "$simulator" --answer-scans "$@" >"$work/$name" 2>&1 &
    until [ "$(wc -l <"$work/$name")" -ge "$count" ]; do sleep 0.05; done
}

# it_holds FILE COUNT PATTERN: so many lines match.
it_holds() {
    [ "$(tr -d '\r' <"$work/$1" | grep -cE "$3")" -eq "$2" ] && return
    failed=1
    echo "FAILED: not $2 times '$3' in $1"
    head -20 "$work/$1"
}

# with_ports_taken PORT... -- COMMAND...: another program has the ports for itself meanwhile.
with_ports_taken() {
    local ports=() ready
    while [ "$1" != -- ]; do ports+=("$1") && shift; done
    shift
    coproc perl -MSocket -e '$| = 1;
        for (@ARGV) {
            socket($taken{$_}, PF_INET, SOCK_DGRAM, 0) && bind($taken{$_}, sockaddr_in($_, INADDR_ANY))
                or die "cannot take port $_: $!";
        }
        print "ready\n"; <STDIN>' "${ports[@]}"
    read -r -t 10 ready <&"${COPROC[0]}" || failed=1
    local holder=$COPROC_PID
    "$@"
    kill "$holder"
    wait "$holder" 2>/dev/null
}

start_modules many 30 --modules 30 --address 192.168.169.20
modules=$!

# No adapter at all. Wine needs a prefix of its own for another network.
mkdir "$work/nowhere"
(echo | ZEL_MODULE_NETWORK=$work/nowhere/none timeout 60 unshare --net "$host") \
    >"$work/lonely" 2>&1 &
lonely=$!

scan_and_ask() {
    timeout 60 "$zel" scan --log=transactions >"$work/scan" 2>&1 &
    local scan=$!
    timeout 60 "$zel" doctor >"$work/doctor" 2>&1 || failed=1
    wait "$scan" || failed=1
}
# A frame with a wrong start and a wrong end for everybody in the group, again and again.
in_modules_network bash -c 'while sleep 0.3; do
    printf "\x12\x34\x56\x79\x10\x01\0\0\0\0\0\0\0\0\0\xaa\x87\x65\x43\x20" >/dev/udp/224.0.0.1/1300
done' &
noise=$!
with_ports_taken 1201 -- scan_and_ask
it_holds scan 30 'MOD-.* yes$'
it_holds scan 1 'UDP port 1201 \(.*\): answers to broadcasts are not heard'
grep -oE 'STERR rx|FT_ERR|frame check of request failed' "$work/scan" | head -3 |
    tr -d '\r' | tr '\n' ' ' >"$work/refused"
it_holds refused 1 '^STERR rx FT_ERR frame check of request failed $'
kill "$noise"
it_holds doctor 1 '^  1201: .* keeps it for itself'
it_holds doctor 30 '^  MOD-.*: fine, connected '
with_ports_taken 1300 -- scan_and_ask
it_holds scan 30 'MOD-.* yes$'
it_holds scan 1 'UDP port 1300 \(.*\): multicasts are not heard'
fail_to_scan() { ! timeout 60 "$zel" scan >"$work/scan" 2>&1 || failed=1; }
with_ports_taken 1201 1300 -- fail_to_scan
it_holds scan 1 'UDP ports 1201 \(.*\) and 1300 \('

wait "$lonely" || failed=1
it_holds lonely 1 '^found 0$'
it_holds lonely 1 '^ended well$'

# From here on one program stays started. The system lets it join the group on one adapter only.
memberships=/proc/sys/net/ipv4/igmp_max_memberships
# How often the group is joined on an adapter; once by the system itself.
joined() { awk -v adapter="$1" '$3 == ":" { on = $2 == adapter } on && $1 == "010000E0" { print $2 }' /proc/net/igmp; }
it_is_joined() { [ "$(joined "$1")" = "$2" ] || { failed=1; echo "FAILED: $1 is joined '$(joined "$1")' times, not $2: $3"; }; }
echo 1 >$memberships
coproc "$host" 2>"$work/complaints"
exec 8<&"${COPROC[0]}" 9>&"${COPROC[1]}"
stays=$COPROC_PID
found() {
    local line
    read -r -t 30 line <&8
    [ "${line%$'\r'}" = "found $1" ] || { failed=1; echo "FAILED: '$line' is not 'found $1'"; }
}

echo >&9
for other in 1 2; do timeout 60 "$zel" scan >"$work/other$other" 2>&1 & others[other]=$!; done
found 30
wait "${others[@]}" || failed=1
it_holds other1 30 'MOD-.* yes$'
it_holds other2 30 'MOD-.* yes$'
it_is_joined zelhost0 2 "at the start"
it_is_joined zelhost1 1 "refused by the system"

# An adapter without an address appears; another goes in the middle of a scan.
echo 2 >$memberships
ip link add zelhost2 type veth peer name zelmodule2 netns "$modules"
ip link set zelhost2 up multicast on
echo >&9
sleep 1
it_is_joined zelhost1 2 "tried again"
ip link set zelhost1 down
sleep 0.5
ip link delete zelhost1
found 30

# It gets an address, and a module behind it. The place of the one that is gone has become free.
ip address add 192.168.171.1/24 broadcast + dev zelhost2
in_modules_network ip address add 192.168.171.20/24 broadcast + dev zelmodule2
in_modules_network ip link set zelmodule2 up multicast on
start_modules late 1 --uuid 0x77 --name LATE --address 192.168.171.20
until ip -br link show zelhost2 | grep -q ' UP '; do sleep 0.05; done
echo >&9
found 31
it_is_joined zelhost2 2 "after it came"

exec 9>&-
eval "exec ${COPROC[1]}>&-"
read -r -t 30 last <&8
[ "${last%$'\r'}" = "ended well" ] || failed=1
wait "$stays" || failed=1
[ "$failed" -eq 0 ] && echo "the network may change"
exit "$failed"
