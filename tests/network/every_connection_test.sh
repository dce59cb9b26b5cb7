#!/usr/bin/env bash
# Runs a host program in C through every export that finds and connects modules.
#
#   every_connection_test.sh ZEL ZEL-SIM EVERY-CONNECTION
set -euo pipefail
simulator=$2
program=$3
if [ "$(head -c 2 "$simulator")" = '#!' ]; then
    # Programs under Wine share a network; the module needs one of its own.
    simulator=$(dirname "$0")/../../build/linux/bin/zel-sim
    [ -x "$simulator" ] || { echo "FAILED: build/linux/bin/zel-sim is not built"; exit 1; }
fi
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
