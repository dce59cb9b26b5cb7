#!/usr/bin/env bash
# Drives zel as a person or a script does, against simulated modules: exit codes, messages, and
# results that a program can parse.
#
#   cli_test.sh ZEL ZEL-SIM
set -uo pipefail
zel=$1
simulator=$2
work=$(mktemp -d)
passed=0 failed=0
simulators=()

clean_up() {
    for process in "${simulators[@]}"; do kill "$process" 2>/dev/null; done
    wait
    rm -rf "$work"
}
trap clean_up EXIT
cd "$work" || exit 1

# Starts a module on a free port; its address is in $module.
start_module() {
    local log=$work/simulator.${#simulators[@]}
    "$simulator" --port 0 "$@" >"$log" 2>&1 &
    simulators+=($!)
    for _ in $(seq 1200); do
        module=$(grep -om1 '127\.0\.0\.1:[0-9]*' "$log") && return
        sleep 0.05
    done
    echo "the simulated module did not start:"
    cat "$log"
    exit 1
}

verdict() {
    if [ "$1" -eq 0 ]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf 'FAILED: %s\n  exit code %s\n  standard output: %s\n  standard error: %s\n' \
            "$2" "$code" "$(head -c 600 out)" "$(head -c 600 err)"
    fi
}

run() {
    timeout 60 "$zel" "$@" >out.raw 2>err.raw </dev/null
    code=$?
    tr -d '\r' <out.raw >out
    tr -d '\r' <err.raw >err
}

# it_works WHAT-IT-PRINTS ARGUMENT...: an extended regular expression for a line of the result.
it_works() {
    local expected=$1
    shift
    run "$@"
    [ "$code" -eq 0 ] && grep -qE -- "$expected" out && [ ! -s err ] && [ -z "$(tail -c 1 out)" ]
    verdict $? "zel $* prints '$expected'"
}

# it_fails MESSAGE ARGUMENT...: nothing on standard output, the message on standard error.
it_fails() {
    local expected=$1
    shift
    run "$@"
    [ "$code" -eq 1 ] && [ ! -s out ] && head -n 1 err | grep -q '^zel: ' &&
        tr '\n' ' ' <err | grep -qE -- "$expected"
    verdict $? "zel $* says '$expected'"
}

# json_holds VALUE KEY... -- ARGUMENT...: what stands under the keys in the one line of JSON.
json_holds() {
    local expected=$1 keys=() found
    shift
    while [ "$1" != -- ]; do
        keys+=("$1")
        shift
    done
    shift
    run "$@" --json
    # CMake has a JSON parser and is there wherever this is built.
    cat >parse.cmake <<'CMAKE'
file(READ out text)
string(JSON value GET "${text}" ${KEYS})
file(WRITE value "${value}")
CMAKE
    rm -f value
    cmake -DKEYS="$(IFS=';' && echo "${keys[*]}")" -P parse.cmake >/dev/null 2>&1
    found=$(cat value 2>/dev/null)
    [ "$(wc -l <out)" -eq 1 ] && [ "$found" = "$expected" ]
    verdict $? "zel $* --json holds '$expected' under ${keys[*]} (found '$found')"
}

start_module

# The command line itself.
it_works '^  get +Read one parameter' --help
it_works '^Usage: zel ' # without arguments too
it_works '^  get +Read one parameter' help
it_works '^Usage: zel teds read ' help teds read
it_fails "'gett' is no command of zel .*did you mean 'get'" help gett
it_works '"version":"[0-9.]+"' --version --json
it_works '^Usage: zel teds read .*ADDRESS CONNECTOR' teds read --help
it_works '^Usage: zel teds ' teds
it_fails "'gett' is no command of zel .*did you mean 'get'" gett "$module"
it_fails "does not know what to do with '--viev' .*did you mean '--view'" get "$module" x --viev 3
it_works '^Usage: .* ADDRESS ID \[PARAMETERS\.\.\.\]$' debug --help
it_fails '^zel: get: PATH is required .*zel get --help' get "$module"
for option in --section --write --view; do # an unset variable of a shell
    it_fails "$option is given without a value" xml "$module" $option ''
done
json_holds "did you mean 'get'? 'zel --help' lists what there is" error advice -- gett
for address in :1 host:0 host:65536 '[::1' '[::1]1' ::1 1.2.3.256 ''; do
    it_fails 'no module address' get "$address" x
done

# Parameters.
json_holds 0x0000001234AB0001 uuid -- get "$module" System/Name
it_works '^System/Name = Müller <"&'"'"'>$' set "$module" System/Name 'Müller <"&'"'"'>'
it_works '^Müller <"&'"'"'>$' get "$module" System/Name
json_holds 'Müller <"&'"'"'>' value -- get "$module" System/Name
run set "$module" System/Name $'a\x7f\xc2\x9b2J\xc2\xa0b' # terminals obey some of it
it_works '"value":"a\\u007F\\u009B2J'$'\xc2\xa0''b"' get "$module" System/Name --json
it_works . set "$module" System/Name xml # a value that is also a command
json_holds -3 written -- set "$module" Amplifier/Connector[@address=\"1\"]/Mode/AnalogInChannel/ZeroOffset -3 --as int
it_works . set "$module" Amplifier/Range 2.5e0 --as double
it_works '^2\.5' get "$module" Amplifier/Range
it_fails "'2,5' is no number .*as double" set "$module" Amplifier/Range 2,5 --as double
it_fails "'2147483648' is no whole number" set "$module" Amplifier/Range 2147483648 --as int
it_fails "could not set Amplifier/Range to '1000' .*$module.*out of range .*-1004110, 0xFFF0ADB2.*the module says: .*1000.*zel schema" \
    set "$module" Amplifier/Range 1000
json_holds -1004110 error code -- set "$module" Amplifier/Range 1000
it_works '^2\.5' get "$module" Amplifier/Range
it_fails 'unknown tag.*zel xml' get "$module" Amplifier/None
it_fails "Invalid parameter view.*zel views $module" get "$module" System/Name --view 99
it_works . default "$module" //Range
it_works '^10\.0' get "$module" Amplifier/Range
it_fails 'not said what is to be reset' default "$module"
it_works '^reset all parameters' default "$module" --all

# Documents: larger than the first buffer, byte for byte, and back again.
run xml "$module"
cp out.raw whole.xml
[ "$code" -eq 0 ] && [ "$(wc -c <whole.xml)" -gt 16384 ]
verdict $? "zel xml reads a document of $(wc -c <whole.xml) bytes"
it_works '^wrote .* to the parameter document' xml "$module" --write whole.xml
run xml "$module"
cmp -s out.raw whole.xml
verdict $? "what zel xml wrote is what it reads"
it_works '^    <eth0>$' xml "$module" --section Communication --pretty
it_works 'maxInclusive value="100"' schema "$module" --section Amplifier/Range --xml
it_works '^Amplifier/Range +number +0.1 to 100$' schema "$module" --section Amplifier/Range
it_works '^AdditionalConnector/Connector\{9\.\.10\}/Mode +choice +CanBus, Fiber$' schema "$module" --view 2
json_holds 64 parameters 0 maxLength -- schema "$module" --view 5
it_works '<ParViews><View' views "$module" --xml
json_holds Communication views 2 name -- views "$module"
it_fails 'no-such-file: ' xml "$module" --write no-such-file
printf '<Communication' >broken.xml
it_fails 'could not write broken.xml to the section' xml "$module" --section Communication --write broken.xml

# Controls and state.
it_works '^  <Control name="LEDFLASH"' controls "$module" --pretty --xml
it_works '^SETZERO +3  Sets' controls "$module"
it_works '^Par1 +whole number +0 to 9 +0$' controls "$module" SETZERO
json_holds 9 parameters 0 maxInclusive -- controls "$module" SETZERO
it_works '^LEDFLASH is done$' control "$module" LEDFLASH 0 1
it_fails 'NOPE.*the module says: .*zel controls' control "$module" NOPE
it_fails 'the module says: .*zel controls' control "$module" SETZERO --xml broken.xml
printf '<ControlParams/>\0' >zero.xml
it_fails 'zero.xml holds a zero byte' control "$module" SETZERO --xml zero.xml
it_works '^zeroed signal 4 of connector 8$' zero "$module" 8 4 --target -2.5
it_works '^0\.0+$' get "$module" Amplifier/Connector7/Mode/AnalogInChannel/ZeroOffset
it_works '^-?[1-9]' get "$module" Amplifier/Connector8/Mode/AnalogInChannel/ZeroOffset
json_holds 8 connector -- zero "$module" AnalogIn_Connector7.Signal0
it_fails "'0' is no number of a connector" zero "$module" 0 1
it_fails "no signal of an analog input" zero "$module" CanReceiver_Connector8.Decoder0.Signal0
it_works '^LED 0 is in mode 1$' led "$module" 0 1
it_works '^no errors$' errors "$module"
it_works '^ +8 +- .* analog input$' status "$module"
json_holds 1 status 0 statusId -- status "$module"
it_works '"value":"[0-9]+"' status "$module" --json # 64 bits
it_works '<Topology><Leaf>' topology "$module" --xml
json_holds 2 modules 0 deviceType -- topology "$module"

# TEDS and files.
it_works '^0000  .*SENSOR8$' teds read "$module" 8
json_holds 1 status -- teds status "$module" 8
printf 'zero ends here\0\0\0' >teds.bin
it_works '^wrote 17 bytes to TEDS [0-9A-F]{16}$' teds write "$module" 1 teds.bin
json_holds 7A65726F20656E64732068657265000000 data -- teds read "$module" 1
for command in read status; do it_fails 'no connector 0' teds $command "$module" 0; done
it_fails 'a file teds.bin already.*--force' teds read "$module" 1 teds.bin
it_fails 'no file that can be copied' file put "$module" . a/b
it_works '^copied teds.bin to a/b \(17 bytes\)$' file put "$module" teds.bin a/b
it_works '^copied a/b to b ' file get "$module" a/b
cmp -s teds.bin b
verdict $? "a file comes back as it went"
it_fails 'a file b already.*--force' file get "$module" a/b
it_fails "the module says: .*missing" file get "$module" missing
[ ! -e missing ]
verdict $? "a file that cannot be had leaves nothing behind"

# Firmware, and a module that goes away for a while.
mkdir images
head -c 200000 /dev/urandom >images/pImage
printf '<Firmware/>' >images/FirmwareUpdate.xml
run firmware write "$module" images
[ "$code" -eq 0 ] && grep -q 'sent 2 images, .*; flashed' out && grep -q 'image 1 of 2, pImage' err
verdict $? "zel firmware write sends and flashes the images of a folder"
it_works ', 100 %$' firmware status "$module"
it_fails 'holds no firmware image' firmware write "$module" .
mkdir -p wrong/MspLoader.bin
printf x >wrong/pImage
it_fails 'MspLoader.bin is no file' firmware write "$module" wrong
head -c 65537 images/pImage >wrong/MspAppl.bin
it_fails 'MspAppl.bin has 65537 bytes.*nothing was sent' firmware write "$module" wrong
it_works 'is back$' restart "$module" --wait 30

# Texts.
it_works '^-1016035 \(0xFFF07F1D\)  SYS: Framework not started$' text 0xFFF07F1D
it_works '^-1016035 ' text 4293951261
it_works 'supply' text -1014999 --from "$module"
it_fails 'no text is known .*--from ADDRESS' text -1014999
it_fails 'no text is known .*neither here nor on' text -5 --from "$module"
it_works '^0 \(0x00000000\)  success$' text 0
it_fails 'too large a number in nm' convert 1e308 km nm
for code_text in '' abc 0x 0x1FFFFFFFF 4294967296 -2147483649 1.5; do
    it_fails 'is no result code' text "$code_text"
done

# The log is for people: the result stays alone on standard output.
run get "$module" System/Name --json --log
[ "$code" -eq 0 ] && [ "$(wc -l <out)" -eq 1 ] && grep -q 'Log 0002000000: ' err
verdict $? "zel --log keeps the log away from the result"
it_fails 'nonsense.* names nothing' get "$module" System/Name --log=nonsense

# Measured values.
signal=AnalogIn_Connector0.Signal0
path='Amplifier/Connector[@address="1"]/Mode/AnalogInChannel/SyncSignal[@address="1"]'
it_works "^$signal +Signal 1 +N +1200 Hz +Float32 +1 +yes" signals "$module"
it_works '^-?[0-9.e-]+ N$' read "$module" $signal
it_works "^$signal " read "$module"
it_fails "has no signal 'Nonsense'" read "$module" Nonsense
it_fails "several signals .* have the name 'Signal 1'" record "$module" 'Signal 1'
run set "$module" "$path/Name" Torque
run set "$module" "$path/Waveform" Counter
for text in Torque "$path"; do json_holds 1 signal -- zero "$module" "$text"; done
it_fails 'CanReceiver_Connector8.Decoder0.Signal0.* is switched off' \
    record "$module" Torque CanReceiver_Connector8.Decoder0.Signal0 --out run.csv
[ ! -e run.csv ]
verdict $? "a recording that does not begin leaves no file"
run set "$module" \
    'AdditionalConnector/Connector[@address="9"]/Mode/CanBus/CanInChannel[@address="1"]/Active' On
it_works '^recorded [0-9]+ samples in [0-9]+ rows to run.csv, without a gap$' \
    record "$module" Torque CanReceiver_Connector8.Decoder0.Signal0 --rate 1000 --duration 0.5 \
    --out run.csv
it_fails 'a file run.csv already' record "$module" Torque --duration 0.1 --out run.csv
tr -d '\r' <run.csv | awk -F, '
    /^# signal: AnalogIn_Connector0.Signal0, name "Torque", unit "N", 1000 Hz/ { named = 1 }
    /^[0-9]/ && $2 != "" {
        if (row == 0) { start = $1; first = $2 } # an earlier test has zeroed it
        late = $1 - start - row / 1000
        if ($2 - first != row || late > 1e-8 || late < -1e-8) exit
        ++row
    }
    END { exit !(named && row > 300) }'
verdict $? "run.csv holds the counter"
it_works '^recorded 10 samples in 10 rows ' record "$module" Torque --duration 0.01 --out short.csv
it_fails "'0' is no time above 0" record "$module" Torque --duration 0
it_works '"lost":0' record "$module" Torque --duration 0.1 --out run.csv --force --json
mkdir small
mount -t tmpfs -o size=64k none small
it_fails 'could not write to small/r.csv: No space left .* [0-9]{4} rows to small/r.csv' \
    record "$module" Torque --duration 5 --out small/r.csv
ends_whole() {
    tr -d '\r' <"$1" | awk -F, '/^[0-9]/ && !/^[0-9.]+,[-0-9.e+]+$/ { cut = 1 }
        END { exit cut || !/^# broken off: .*No space left/ }'
    verdict $? "a full disk leaves whole lines and the reason in $1"
    rm "$1"
}
ends_whole small/r.csv
# Under Wine a program cannot shorten the file that its standard output goes to.
if [ "$(head -c 2 "$zel")" != '#!' ]; then
    timeout 60 "$zel" record "$module" Torque --duration 5 >small/redirected.csv 2>err
    ends_whole small/redirected.csv
fi
umount small
run watch "$module" Torque --count 2 --interval 0.05
[ "$code" -eq 0 ] && [ "$(grep -cE "^20[-0-9]+T[:.0-9]+Z  $signal " out)" -eq 2 ] &&
    [ "$(wc -l <out)" -eq 3 ]
verdict $? "zel watch shows values and their times twice, below one heading"
json_holds Torque values 0 name -- watch "$module" Torque --count 1
it_fails "'0' is no whole number above 0" watch "$module" --count 0
it_fails "'nan' is no time from 0.01 to 3600 seconds" watch "$module" --interval nan

# Warnings: the result is there, and the module's words are.
cat >warning.json <<JSON
{"modules": [{"port": 0, "answers": [
  {"method": "1/9", "result": 1004110, "data": "limited to 100"},
  {"method": "1/11", "result": 1004110, "data": "<ParViews/>"},
  {"method": "1/3", "data": "<schema><element name='G' type='T'/><complexType name='T'><all><element name='a' type='T'/><element name='b' type='T'/><attribute name='at' type='int'/></all></complexType></schema>"},
  {"method": "1/7", "data": "<Other>6</Other>"},
  {"method": "5/1"},
  {"method": "3/1", "data": "$(head -c 1100000 /dev/zero | tr '\0' x)"}]}]}
JSON
start_module --script warning.json
run set "$module" Amplifier/Range 500
[ "$code" -eq 0 ] && grep -q '^Amplifier/Range = 10\.0' out && grep -q 'warned .*out of range' err &&
    grep -q 'the module says: limited to 100$' err
verdict $? "zel set shows a warning and the value that the module has"
json_holds 'limited to 100' warning module -- set "$module" Amplifier/Range 500
it_works 'at +whole number' schema "$module" # a schema without end
it_works '^<Other>6</Other>$' schema "$module" --section Other # and none at all
run views "$module" --xml
[ "$code" -eq 0 ] && grep -q '^<ParViews/>$' out && grep -q 'warned' err && ! grep -q ParViews err
verdict $? "data that come with a warning are no words of the module"
run control "$module" SETZERO --xml whole.xml
[ "$code" -eq 0 ] && [ "$(wc -c <out)" -eq 1100001 ]
verdict $? "an answer of a control that is too long for the buffer is not lost"
it_fails 'nothing was recorded' record "$module" $signal --duration 0.1 --out empty.csv

echo '{"modules": [{"uuid": "0xFFFFFFFFFFFFFFFF"}]}' >none.json
for options in '--uuid 0x8ffffffffffffffe' '--uuid 0xfffffffffffffffe --modules 2' '--script none.json'; do
    timeout 60 "$simulator" --port 0 $options >out 2>err </dev/null
    code=$?
    [ "$code" -eq 1 ] && grep -qE "^zel-sim: .*UUID 0x[0-9a-f]{16} cannot be a module's" err
    verdict $? "zel-sim refuses $options"
done

# Modules that behave badly.
start_module --fault disconnect:6/12
it_works 'is back; it gave no answer' restart "$module" --wait 30
it_fails 'could not connect to 127.0.0.1:1: TCP: Connect failed .*switched on' get 127.0.0.1:1 x
start_module --fault disconnect:5/1
it_fails 'connection was lost' record "$module" AnalogIn_Connector0.Signal0 --reconnect off --out lost.csv
grep -q '^# broken off: could not fetch' lost.csv
verdict $? "a recording says that it was broken off"
start_module --buffer-time 1
run record "$module" AnalogIn_Connector{0..1}.Signal0 --rate 1000 --duration 0.5 --out x.csv --json
[ "$code" -eq 1 ] && grep -q 'gaps: .* lost' err && tr -d '{}"' <out | tr ',' '\n' |
    awk -F: '/^(samples|lost):/ { sum += $2 } /^lost:0/ { sum = 0 } END { exit sum != 1000 }'
verdict $? "samples and lost samples are all that there were, and losses a failure"
start_module --fault disconnect:1/10
it_fails 'could not read System/Name .*connection was lost' get "$module" System/Name
start_module --fault silence:1/10
it_fails 'could not read .*did not answer in time' get "$module" System/Name

# Ctrl-C while a request runs: the command says so, and ends as soon as the request has. What starts
# a Windows program here passes no signal on.
if [ "$(head -c 2 "$zel")" != '#!' ]; then
    start_module --fault delay:1/10:1500ms
    "$zel" get "$module" System/Name --log >out 2>err &
    process=$!
    for _ in $(seq 1200); do
        grep -q 'tx: REQ ' err && break
        sleep 0.05
    done
    # Not SIGINT, which a shell's background jobs ignore until they ask for it: zel takes both.
    kill -TERM $process
    wait $process
    code=$?
    [ "$code" -eq 1 ] && [ ! -s out ] && grep -q '^zel: stopped' err
    verdict $? "an interrupted command stops cleanly"

    for signal in TERM HUP KILL; do
        "$zel" record "$module" AnalogIn_Connector0.Signal0 --out $signal.csv >out 2>err &
        process=$!
        for _ in $(seq 1200); do
            [ -s $signal.csv ] && break
            sleep 0.05
        done
        sleep 1
        kill -$signal $process
        wait $process 2>/dev/null
        code=$?
        [ "$(grep -c '^[0-9]' $signal.csv)" -gt 600 ] && [ -z "$(tail -c 1 $signal.csv)" ] &&
            if [ $signal != KILL ]; then
                [ "$code" -eq 0 ] && tail -n 1 $signal.csv | grep -q '^# end: ' &&
                    grep -q "^recorded .* rows to $signal.csv" out
            fi
        verdict $? "a recording that SIG$signal ends is in the file"
    done

    script -qec "stty rows 8 cols 30; '$zel' watch $module --count 1" /dev/null </dev/null >out
    code=$?
    [ "$code" -eq 0 ] && [ "$(wc -l <out)" -eq 7 ] && grep -q '^[.]\{3\} 44 more' out &&
        [ -z "$(sed 's/\x1b[^A-Z]*[A-Z]//g; s/\r//' out | grep -E '.{30}')" ]
    verdict $? "zel watch fills the terminal and no more"

    it_works '= a\\x9B\\x9Bé$' set "$module" System/Name $'a\x9b\xc2\x9bé'
    # A person at a terminal is asked; a pipe is not, and does not wait either.
    run set "$module" Amplifier/Range 2.5
    ask() { TERM=dumb timeout 20 script -qec "'$zel' default $module --all $2" /dev/null <<<"$1" >out 2>err; }
    ask n '' || code=$?
    [ "$code" -eq 1 ] && grep -q 'nothing was reset' out
    verdict $? "zel default --all takes no for an answer"
    it_works '^2\.5' get "$module" Amplifier/Range
    ask y '' && grep -q '? \[y/N\] ' out
    verdict $? "zel default --all takes yes for an answer"
    it_works '^10\.0' get "$module" Amplifier/Range
    ask '' --yes && ! grep -q 'y/N' out
    verdict $? "zel default --all --yes does not ask"
    "$zel" units >/dev/full 2>err
    code=$?
    [ "$code" -eq 1 ] && grep -q 'No space left on device' err
    verdict $? "a result that cannot be written is told of"
    # Nobody reads the pipe any more.
    mkfifo pipe
    exec 3<>pipe 4>pipe 3>&-
    "$zel" units >&4 2>err
    code=$?
    exec 4>&-
    [ "$code" -eq 1 ] && [ ! -s err ]
    verdict $? "a closed pipe ends a command without a word"
fi

printf '%d passed, %d failed\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
