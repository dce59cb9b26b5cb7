#!/usr/bin/env bash
# Runs a host program in C through every export of the device services against zel-sim.
#
#   every_export_test.sh ZEL ZEL-SIM EVERY-EXPORT
set -euo pipefail
program=$3
. "$(dirname "$0")/../support/simulated_module.sh"
start_module "$2"
mkdir "$work/host" "$work/host/empty"
head -c 300000 /dev/urandom >"$work/host/pImage"
echo "what the host has" >"$work/host/host.bin"
cd "$work/host"
"$program" "$port" .
