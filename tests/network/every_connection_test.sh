#!/usr/bin/env bash
# Runs a host program in C through every export that finds and connects modules.
#
#   every_connection_test.sh ZEL ZEL-SIM EVERY-CONNECTION
set -euo pipefail
. "$(dirname "$0")/../support/module_network.sh"
simulator=$(real_simulator "$2") || exit 1
program=$3
work=$(mktemp -d)
trap 'kill "$running" 2>/dev/null || true; wait; rm -rf "$work"' EXIT

nsenter --net="$ZEL_MODULE_NETWORK" "$simulator" --answer-scans --address 192.168.169.20 \
    >"$work/log" 2>&1 &
running=$!
until grep -q 192.168.169.20 "$work/log"; do
    kill -0 "$running"
    sleep 0.05
done
"$program" 192.168.169.20
