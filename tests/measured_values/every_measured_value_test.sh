#!/usr/bin/env bash
# Runs a host program in C through every export of the measured values against zel-sim.
#
#   every_measured_value_test.sh ZEL ZEL-SIM EVERY-MEASURED-VALUE
set -euo pipefail
program=$3
. "$(dirname "$0")/../support/simulated_module.sh"
start_module "$2"
"$program" "$port"
