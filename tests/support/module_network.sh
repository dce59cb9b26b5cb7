# To be sourced: what scripts share that start simulated modules in the modules' network.

# real_simulator ZEL-SIM: prints the one to start there, or says why there is none.
real_simulator() {
    [ -n "${ZEL_MODULE_NETWORK:-}" ] || { echo "FAILED: no network for modules here" >&2; return 1; }
    local simulator=$1
    if [ "$(head -c 2 "$simulator")" = '#!' ]; then
        # Programs under Wine share a network; the modules need one of their own.
        simulator=$(dirname "$0")/../../build/linux/bin/zel-sim
        [ -x "$simulator" ] || { echo "FAILED: build/linux/bin/zel-sim is not built" >&2; return 1; }
    fi
    echo "$simulator"
}

in_modules_network() { nsenter --net="$ZEL_MODULE_NETWORK" "$@"; }
