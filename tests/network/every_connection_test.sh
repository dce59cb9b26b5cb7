#!/usr/bin/env bash
# Runs a host program in C through every export that finds and connects modules, and to modules
# that hear only one of the two ways without a connection.
#
#   every_connection_test.sh ZEL ZEL-SIM EVERY-CONNECTION
set -euo pipefail
. "$(dirname "$0")/../support/module_network.sh"
simulator=$(real_simulator "$2") || exit 1
program=$3
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$work"' EXIT

# start_module UUID ADDRESS ARGUMENT...
start_module() {
    local uuid=$1 address=$2
    shift 2
    : >"$work/$uuid"
    in_modules_network "$simulator" --answer-scans --uuid "$uuid" --address "$address" "$@" \
        >"$work/$uuid" 2>&1 &
    until grep -q "$address" "$work/$uuid"; do
        kill -0 $!
        sleep 0.05
    done
}

for address in 10.77.0.5 10.77.0.6 10.77.0.7; do
    in_modules_network ip address add $address/24 dev zelmodule1
done
start_module 0x70 192.168.169.20
start_module 0x71 10.77.0.5 --hears multicast
start_module 0x72 10.77.0.6 --hears broadcast
start_module 0x73 10.77.0.7 --hears broadcast
"$program" 192.168.169.20 4
"$program" 100 0x71 0x72

# Where another program has the port, no multicast leaves: broadcasts go at once.
perl -MSocket -e '$| = 1;
    socket(S, PF_INET, SOCK_DGRAM, 0) && bind(S, sockaddr_in(1300, INADDR_ANY)) or die "no port: $!";
    print "taken\n"; sleep' >"$work/port" &
until [ -s "$work/port" ]; do
    kill -0 $!
    sleep 0.05
done
"$program" 8 0x73 # where it waited for the multicasts, 9 s
