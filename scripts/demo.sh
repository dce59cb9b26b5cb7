#!/usr/bin/env bash
# Shows what the command line does with a module: reads a parameter, changes it, reads it back and has
# a wrong value refused. The module is simulated; both stand in a private network. On a bare Debian 12
# it installs and builds what it needs first.
#
#   demo.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

programs=${ZEL_DEMO_PROGRAMS:-build/linux/bin}
if [ "${1:-}" != inside ]; then
    log=build/logs/demo-build.log
    mkdir -p "$(dirname "$log")"
    echo "Building zel and zel-sim (the log is $log) ..."
    if ! scripts/build.sh linux zel zel-sim >"$log" 2>&1 </dev/null; then
        tail -n 30 "$log" >&2
        echo "demo: the build failed" >&2
        exit 1
    fi
    exec scripts/in-private-network.sh "${BASH_SOURCE[0]}" inside
fi

PATH=$PWD/$programs:$PATH
work=$(mktemp -d)
simulator=
clean_up() {
    [ -z "$simulator" ] || kill "$simulator" 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT

bold= plain=
if [ -t 1 ]; then
    bold=$(printf '\033[1m') plain=$(printf '\033[0m')
fi

fail() {
    echo "demo: $*" >&2
    exit 1
}

# Prints the command as a person would type it.
show() {
    local word line=
    for word in "$@"; do
        if [[ $word == *\"* ]]; then
            word="'$word'"
        elif [[ $word != "&" && $word != "|" && $word == *[!A-Za-z0-9_./:=,-]* ]]; then
            word="\"$word\""
        fi
        line+=" $word"
    done
    printf '\n%s$%s%s\n' "$bold" "$line" "$plain"
}

say() { printf '\n# %s\n' "$*"; }

# Runs a command that must work; what it printed stays in $answer.
try() {
    show "$@"
    if ! timeout 20 "$@" >"$work/out"; then
        fail "the command above should have worked"
    fi
    cat "$work/out"
    answer=$(cat "$work/out")
}

# Runs a command that must fail, with a message that holds the text.
try_wrong() {
    local text=$1 status=0
    shift
    show "$@"
    timeout 20 "$@" >"$work/out" 2>&1 || status=$?
    cat "$work/out"
    [ "$status" -eq 1 ] || fail "the command above should have ended with 1, not $status"
    grep -q -- "$text" "$work/out" || fail "the message above does not hold '$text'"
}

# In the network of the modules, where there is one; else next to us.
module=127.0.0.1
elsewhere=()
if [ -n "${ZEL_MODULE_NETWORK:-}" ]; then
    module=192.168.169.20
    elsewhere=(nsenter --net="$ZEL_MODULE_NETWORK")
fi

say "A simulated module, as it would stand in the rack:"
show zel-sim --address $module "&"
"${elsewhere[@]}" zel-sim --address $module >"$work/sim" 2>&1 &
simulator=$!
for _ in $(seq 100); do
    [ ! -s "$work/sim" ] || break
    kill -0 $simulator 2>/dev/null || break
    sleep 0.1
done
cat "$work/sim"
grep -q "^module 1 " "$work/sim" || fail "the simulated module did not start"

say "What is it called?"
try zel get $module System/Name
before=$answer

say "Give it another name, and look:"
try zel set $module System/Name "Test stand 3"
try zel get $module System/Name
[ "$answer" = "Test stand 3" ] || fail "the name is '$answer', not 'Test stand 3'"

say "Numbers too, and for programs as JSON:"
try zel get $module Amplifier/Range
try zel set $module Amplifier/Range 2.5 --as double
try zel get $module Amplifier/Range --json
[[ $answer == *'"value":"2.5'* ]] || fail "the range is not 2.5"

say "A value that the module does not take, in its own words:"
try_wrong "the module says: .*1000" zel set $module Amplifier/Range 1000
try zel get $module Amplifier/Range
[[ $answer == 2.5* ]] || fail "the refused value has changed the range to '$answer'"

say "What would it take?"
try zel schema $module --section Amplifier/Range

say "Any result code in words:"
try zel text 0xFFF0ADB2

say "The sensors: write a TEDS memory and read it back"
printf 'what the sensor tells of itself' >"$work/teds.bin"
try zel teds write $module 1 "$work/teds.bin"
try zel teds read $module 1

say "Controls act: zero a signal, flash the LED to find the module in the rack"
try zel zero $module 2 1
try zel led $module 0 1

say "How is it?"
try zel errors $module
try zel status $module
try zel topology $module

say "Files, there and back:"
try zel file put $module "$work/teds.bin" data/teds.bin
try zel file get $module data/teds.bin "$work/back.bin"
cmp -s "$work/teds.bin" "$work/back.bin" || fail "the file came back as another one"

say "New firmware, with flashing until it is done, and a restart:"
mkdir "$work/firmware"
head -c 1048576 /dev/urandom >"$work/firmware/pImage"
try zel firmware write $module "$work/firmware"
try zel restart $module --wait 20

say "Back to how it was:"
try zel set $module System/Name "$before"

say "What does it measure? What now?"
show zel signals $module "|" head -4
zel signals $module >"$work/signals" || fail "the command above should have worked"
head -4 "$work/signals"
signal=AnalogIn_Connector0.Signal0
try zel read $module $signal

say "A recording, compared with what the module generates: a counter, 100000 values a second"
path='Amplifier/Connector[@address="1"]/Mode/AnalogInChannel/SyncSignal[@address="1"]'
try zel set $module "$path/Waveform" Counter
try zel record $module $signal --rate 100000 --duration 2 --out "$work/run.csv"
show head -6 "$work/run.csv"
head -6 "$work/run.csv"
awk -F, '
    /^[0-9]/ {
        time = sprintf("%d.%09d", row / 100000, (row % 100000) * 10000)
        if ($1 != time || $2 != row) { print "row " row " is " $0; wrong = 1; exit }
        ++row
    }
    END { if (!wrong) print row " values, each the next number, each 10 us after the one before"
          exit wrong || row < 150000 }' "$work/run.csv" || fail "the recording is another signal"

kill -TERM $simulator
status=0
wait $simulator || status=$?
simulator=
[ "$status" -eq 0 ] || fail "the simulated module ended with $status"
printf '\nThe demo is through. zel --help lists all commands.\n'
