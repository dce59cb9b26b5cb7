#!/usr/bin/env bash
# Runs the example programs against zel-sim and looks at what they print.
#
#   examples_test.sh ZEL ZEL-SIM READ_PARAMETER STREAM_SIGNAL STREAM_SIGNAL_CPP
set -euo pipefail
zel=$1
read_parameter=$3
stream_signal=$4
stream_signal_cpp=$5
. "$(dirname "$0")/../support/simulated_module.sh"
start_module "$2" --name BENCH

fail() {
    echo "FAILED: $*"
    exit 1
}

[ "$("$read_parameter" 127.0.0.1 "$port" | tr -d '\r')" = BENCH ] || fail "read_parameter"
! "$read_parameter" 127.0.0.1 1 2>"$work/error" || fail "read_parameter succeeded without a module"
grep -q "TCP: Connect failed" "$work/error" || fail "read_parameter does not tell what is wrong"

# A counter of 1200 values a second: a second of it, without a hole.
signal='Amplifier/Connector[@address="1"]/Mode/AnalogInChannel/SyncSignal[@address="1"]'
"$zel" set "127.0.0.1:$port" "$signal/Waveform" Counter
check_values() {
    tr -d '\r' <"$work/values" | awk '
        NR > 1 && $2 != last + 1 { print "value " $2 " after " last; exit 1 }
        { last = $2 }
        END { if (NR < 900) { print "only " NR " values"; exit 1 } }' || fail "values of $1"
}
"$stream_signal" 127.0.0.1 "$port" >"$work/values" 2>"$work/summary" || fail "stream_signal"
check_values stream_signal
"$stream_signal_cpp" "127.0.0.1:$port" >"$work/values" || fail "stream_signal_cpp"
check_values stream_signal_cpp
! "$stream_signal_cpp" "127.0.0.1:$port" Nonsense 2>"$work/error" || fail "an unknown signal"
grep -q "could not choose the signal 'Nonsense'" "$work/error" || fail "$(cat "$work/error")"
grep -q "values, the latest" "$work/summary" || fail "summary of stream_signal"
! "$stream_signal" 127.0.0.1 "$port" Nonsense 2>"$work/error" || fail "an unknown signal was taken"
grep -q "DAQ: Signal identifier unknown" "$work/error" || fail "$(cat "$work/error")"
echo "the examples do what they should"
