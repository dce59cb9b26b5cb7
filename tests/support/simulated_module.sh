# To be sourced: a scratch folder $work, and zel-sim while the script runs.

work=$(mktemp -d)
trap 'kill "$running" 2>/dev/null || true; wait; rm -rf "$work"' EXIT

# start_module ZEL-SIM [ARGUMENT]...: $port is where it listens.
start_module() {
    "$@" --port 0 >"$work/log" 2>&1 &
    running=$!
    port=
    until port=$(grep -om1 '127\.0\.0\.1:[0-9]*' "$work/log" | cut -d: -f2); do
        kill -0 "$running"
        sleep 0.05
    done
}
