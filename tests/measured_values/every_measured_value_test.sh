#!/usr/bin/env bash
# Runs a host program in C through every export of the measured values against zel-sim.
#
#   every_measured_value_test.sh ZEL ZEL-SIM EVERY-MEASURED-VALUE
set -euo pipefail
simulator=$2
program=$3
work=$(mktemp -d)
trap 'kill "$running" 2>/dev/null || true; wait; rm -rf "$work"' EXIT

"$simulator" --port 0 >"$work/log" 2>&1 &
running=$!
port=
for _ in $(seq 1200); do
    port=$(grep -om1 '127\.0\.0\.1:[0-9]*' "$work/log" | cut -d: -f2) && break
    sleep 0.05
done
"$program" "$port"
