#!/usr/bin/env bash
# Loads and unloads the library again and again, while a module is connected.
#
#   load_library_test.sh ZEL ZEL-SIM LOAD-LIBRARY
set -euo pipefail
program=$3
. "$(dirname "$0")/../support/simulated_module.sh"
start_module "$2"
cd "$work"
# The C library counts as used what it keeps at hand for each thread.
GLIBC_TUNABLES=glibc.malloc.tcache_count=0 "$program" "$port"
