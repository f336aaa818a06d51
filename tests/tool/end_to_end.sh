#!/bin/bash
# The tool against simulated devices in a bus of its own: every command, and every exit code from each that can give it.
# Arguments: the tool, and the folder of the example devices.
set -u
ovk_tool=$1
devices=$2
pump=VR017_00042_00A0B1C2D3E4
level=VR101_10017_00000000A1B2
silent=VR101_10018_00000000A1B3
work=$(mktemp -d)
bus=$work/bus
. "$(dirname "$0")/await.sh"
export LC_ALL=C
odd_locale=$(locale -a 2>/dev/null | grep -m 1 '^de_DE') || odd_locale=C
trap 'kill "${sims[@]}" 2>/dev/null; rm -rf "$work"' EXIT
sims=()
failures=0

ovk() { LC_ALL=$odd_locale timeout 60 "$ovk_tool" --bus "$bus" "$@"; }

fail() {
  echo "FAILED: $*"
  sed 's/^/    /' "$work/out" "$work/err"
  failures=$((failures + 1))
}

# check CODE PATTERN ARGUMENT... : runs the tool; its exit code, and a line of its output (stdout for 0, else stderr).
check() {
  local code=$1 pattern=$2 stream=err
  shift 2
  ovk "$@" >"$work/out" 2>"$work/err"
  local got=$?
  [ "$code" = 0 ] && stream=out
  [ $got = "$code" ] || fail "'$*' exited with $got instead of $code"
  grep -Eq -- "$pattern" "$work/$stream" || fail "'$*' printed nothing like '$pattern'"
  [ "$code" = 0 ] || [ ! -s "$work/out" ] || fail "'$*' failed and printed data"
}

# json CODE CONDITION ARGUMENT... : runs the tool with --json; stdout must be lines of JSON, and jq find each to be so.
json() {
  local code=$1 condition=$2 got
  shift 2
  ovk "$@" --json >"$work/out" 2>"$work/err"
  got=$?
  [ $got = "$code" ] || fail "'$* --json' exited with $got instead of $code"
  [ "$(jq -c "$condition" "$work/out" 2>&1 | sort -u)" = true ] || fail "'$* --json': not everywhere $condition"
  jq -c . "$work/out" | wc -l | cmp -s - <(wc -l <"$work/out") || fail "'$* --json': not a line for each result"
}

# values EXPECTED ARGUMENT... : runs the tool with -q, which prints just these values.
values() {
  local expected=$1
  shift
  ovk "$@" -q 2>"$work/err" | paste -sd' ' >"$work/out"
  [ "$(cat "$work/out")" = "$expected" ] || fail "'$* -q' did not print '$expected'"
}

# takes_part FID PROCESS : whether the process is on the bus by now, or will not be, since it has ended.
takes_part() { [ -e "$bus/$1.c1" ] || [ -e "$bus/$1.c4" ] || ! kill -0 "$2"; }

# signalled SIGNAL CODE ARGUMENT... : runs the tool until it takes part in the bus, and ends it.
signalled() {
  local signal=$1 code=$2 own=VR003_00001_000000000001
  shift 2
  "$ovk_tool" --bus "$bus" --id $own "$@" >"$work/out" 2>"$work/err" &
  await takes_part $own $!
  kill -s "$signal" $!
  wait $!
  local got=$?
  [ $got = "$code" ] || fail "'$*' ended by SIG$signal exited with $got"
}

# ready FID : the next device of the simulation that can be asked.
ready() {
  local line=nothing
  read -r -t 20 line <&3
  [ "$line" = "ready $1" ] || { echo "FAILED: $line instead of ready $1"; cat "$work/sim.log"; exit 1; }
}

# start ARGUMENT... : starts a simulation; $sim is its process.
start() {
  mkfifo "$work/ready"
  "$ovk_tool" --bus "$bus" sim "$@" >"$work/ready" 2>"$work/sim.log" &
  sim=$!
  sims+=("$sim")
  exec 3<"$work/ready"
  rm "$work/ready"
}

# stop SIGNAL PATTERN : ends the simulation, which must end well and say PATTERN.
stop() {
  kill -s "$1" "$sim"
  wait "$sim" || fail "the simulation exited with $? on SIG$1"
  grep -Eq "$2" "$work/sim.log" || fail "no '$2' in: $(cat "$work/sim.log")"
}

# Nothing of this gets as far as the bus.
check 2 "VR017_00042_00A0B1C2D3E4" read pump 100
check 2 "'VR1' is not an identifier" --id VR1 read $pump 100
check 2 "'' is not an identifier" --id "" topology
check 2 "assigns nothing" write $pump 100
check 2 "'3' is one area too many" read $pump 1 2 3
check 2 "is not a time" read $pump 1 --timeout 0
check 2 "'u8' is nothing for --as" read $pump 1 --as u8
check 2 "--swap needs" read $pump 1 --swap
check 2 "'1:3' has an odd number" read $pump 1:3 --as f32
check 2 "'-1' that is not a number from 0" write $pump 1=2,-1 --as u32
check 2 "'x' is not a time" read $pump 1 --every x
json 2 ".err_reason | startswith(\"--json excludes --quiet\")" read $pump 1 -q
json 2 '.success == false and (.err_reason | startswith("FID is required"))' read
check 2 "FID is required; see 'ovk read --help'" read
check 2 "PARENT is required; see 'ovk topology add --help'" topology add
check 2 "'frobnicate' is not a command or option; see 'ovk --help'" frobnicate
check 2 "no command given"
check 2 "1 required SEC missing" --timeout
check 2 "'$pump' .*either FID" tags $pump 17 --config "$devices/../tags/level.json"
check 2 "'$pump' .*either FID" tags --config "$devices/../tags/level.json" $pump 17
check 2 "not an identifier" topology add $pump VR1
check 2 "not an identifier" topology --static VR1
check 1 "telegram" tags --config "$devices/level-sensor.json"
check 0 "Exit codes" --help
for command in sim read write tags info topology "topology add" "topology remove" counters monitor; do
  check 0 "^  ovk $command" $command --help
  awk 'length >= 80' "$work/out" | grep . && fail "'$command --help' is wider than 80 columns"
done
check 0 "^ovk [0-9]+\." --version
check 1 "^ovk: $work: Is a directory$" tags --config "$work"
check 1 "^ovk: /dev/null: is empty$" sim --check /dev/null
check 1 "^ovk: /dev/zero: has more than 16 MB$" sim --check /dev/zero
check 2 "^ovk: --bus: names no directory" --bus "" topology

# Simulations that do not start.
echo "{\"fid\": \"$level\", \"nmae\": \"\"}" >"$work/misspelt.json"
check 2 "FILE is required" sim
check 2 "not in range" sim --fail-every -1 "$devices/pump-controller.json"
check 2 "needs? a controller" sim "$devices/pump-controller.json" "$devices/level-sensor.json"
check 1 "^ovk: $work/none: No such file or directory$" sim "$work/none"
check 1 "unknown member 'nmae'" sim --id $pump "$devices/pump-controller.json" "$work/misspelt.json"
check 1 "unknown member 'nmae'" sim --check "$work/misspelt.json"
echo "{\"fid\": $pump}" >"$work/unquoted.json"
echo '{"tags": [{"tag": 1, "idd": 1, "tag": 2}]}' >"$work/twice.json"
check 1 "^ovk: $work/unquoted.json: line 1, column [0-9]+: " sim --check "$work/unquoted.json"
check 1 "^ovk: $work/twice.json: member 'tag' stands twice$" sim --check "$work/twice.json"
check 1 "already the device" sim --check "$devices/level-sensor.json" "$devices/level-sensor.json"
check 0 "pump-controller.json: good" sim --check "$devices"/*.json

bus=$work/file
: >"$bus"
for command in "read $pump 1" "write $pump 1=1" "tags $pump 1" "info $pump" "counters $pump" topology "topology --static" \
  "topology add $pump $level" "topology remove $pump $level" "sim $devices/pump-controller.json"; do
  check 8 "is not a directory" $command # in words
done
bus=$work/$(printf 'x%.0s' {1..80})
check 8 "give --bus a shorter path" topology

# Static devices are listed alone; a fault in the file must not pass for an empty list.
bus=$work/configured
mkdir -m 700 "$bus"
echo "{\"controllers\": [{\"fid\": \"$pump\", \"sensors\": [{\"fid\": \"$level\"}]}]}" >"$bus/topology.json"
check 0 "added" topology add VR999_00001_000000000001 $silent
check 0 "^$level +sensor" topology
check 0 "^$silent +sensor +- +VR999_00001_000000000001" topology --static
grep -q $level "$work/out" && fail "a configured sensor is listed as a static device"
echo '{"static": [{"parent": 1}]}' >"$bus/topology.json"
check 1 "static\[0\].parent is not a text" topology --static
check 1 "static\[0\].parent is not a text" topology add $pump $silent
check 4 "static\[0\].parent is not a text" read $pump 100

bus=$work/bus
check 4 "known: nobody" read $pump 100
check 0 "added" topology add $pump $level "tank level"
check 0 "^$level +sensor +tank level +$pump +offline" topology --static $pump
check 7 "could not be sent" read $level 0
start --id $pump "$devices"/*.json
ready $level
ready $pump
check 4 "not on the bus" read $silent 0
check 0 "added" topology add $pump $silent
ready $silent

check 0 "^ +102  0x05AA   1450$" read $pump 100:4
json 0 ".msg_type == 201 and .src.fid == \"$pump\" and .data == [{start: 100, words: [1, 0, 1450, 50]}]" read $pump 100:4
check 0 "wrote 2 registers: 102 to 103" write $pump 102=1500,0x3C 1000=7
check 0 "^    1000  0x0007      7$" read $pump 102:2 0x3E8
check 0 "^    1063  " read $pump 1000:64
check 0 "^       0  0x0CCB   3275$" read $level 0 --timeout 10
json 0 ".msg_type == 203 and .success" write $pump 1010=-21.5 --as f32 --swap
check 0 "^    1010  0x0000 0xC1AC           -21.5$" read $pump 1010:2 --as f32 --swap
json 0 ".data[0] == {start: 1010, words: [0, 49580], values: [-21.5]}" read $pump 1010 --as f32 --swap
values "0 -15956" read $pump 1010:2 --as i16
values "1 1 1" read $pump 100 --count 3 --every 0.01
json 3 '.success == false and .err_reason == "register 300 does not exist"' read $pump 300 --count 2 --every 0.01
check 3 "register 300 does not exist" read $pump 100:2 300
check 3 "register 200 is read-only" write $pump 100=0 200=1
check 0 "^     100  0x0001" read $pump 100
check 4 "VR999_00001_000000000001.*$pump" read VR999_00001_000000000001 1
check 4 "not on the bus" counters VR999_00001_000000000001
check 5 "no answer from $silent within 0.2 s" read $silent 0 --timeout 0.2

check 0 "^port:17 +f32 +21.5  200:2$" tags $pump 17
check 0 "^port:17 +f32 +21.75  200:2$" tags $pump port:0x11
check 0 "^port:18 +u32 +4294967295  202:2$" tags $pump 19 18
check 0 "^port:19 +i32 +-5  100:1$" tags $pump 19 18
check 0 "^info:3 +text +P-300/B  1000:10$" tags $pump info:3 info:4
check 0 "^info:4 +- +-  1010:4$" tags $pump info:3 info:4
check 0 "^port:1 +f32 +3.275  0:1$" tags --config "$devices/../tags/level.json"
check 3 "tag info:17 does not exist" tags $pump 17 info:17
mapfile -t many < <(yes 19 | head -n 201)
values "$(yes -- -5 | head -n 201 | paste -sd' ')" tags $pump "${many[@]}"
grep -q "in 3 parts, not at one instant" "$work/err" || fail "parts were not told of"
json 0 '[.data.tag_items[] | [.tag_type, .tag, .data]] == [[1, 18, 4294967295], [2, 3, "P-300/B"], [2, 4, null]]' \
  tags $pump 18 info:3 info:4
values "22" tags $pump 17
json 0 '.data == {numTagRegBlocks: 2, TagRegBlocks: [100, 200], numResRegBlocks: 1, ResRegBlocks: [1000],
  ModbusBufferSize: 256}' info $pump
values "100 200 1000 256" info $pump
json 0 'any(.data[]; .counter == 51) == false and any(.data[]; .counter == 47 and .value > 5)' counters $pump
json 0 ".data.controllers[0].sensors | map(.fid) == [\"$level\", \"$silent\"]" topology
values "$pump $level $silent" topology

check 0 "^tag register blocks +100 200$" info $pump
check 0 "^$pump +controller .* online$" topology
check 0 "^$level +sensor +tank level +$pump +online" topology
check 0 "^ +47 +[1-9][0-9]*  " counters $pump
check 1 "has no counters here" counters $level
signalled INT 130 read $silent 0 --timeout 60
signalled TERM 143 read $pump 100 --every 60
check 0 "removed" topology remove $pump $silent
check 4 "not on the bus" read $silent 0
check 1 "not possible" topology remove $pump $silent
ovk read $pump 100 >/dev/full 2>"$work/err"
[ $? = 1 ] || fail "a full disk did not give 1"
[ "$(ovk read $pump 100 -q --every 0.01 2>"$work/err" | head -n 2 | paste -sd' ')" = "1 1" ] && [ ! -s "$work/err" ] ||
  fail "a closed pipe was complained of"
check 8 "cannot join the bus as $pump.*another process has it" --id $pump read $level 0
check 8 "cannot join the bus as $pump.*another process has it" sim "$devices/pump-controller.json"
stop TERM "^[0-9]+ requests: [1-9][0-9]* answered, [0-9]+ refused, [0-9]+ dropped, [0-9]+ not sent$" # some who asked were ended

# Killed in the middle of traffic: who asked waits in vain, who asks is told, and the device is back at once.
echo "{\"fid\": \"$pump\", \"registers\": [{\"start\": 100, \"count\": 1}]}" >"$work/bare.json"
start --delay-ms 60000 "$work/bare.json"
ready $pump
ovk read $pump 100 --timeout 1 >"$work/out" 2>"$work/err" &
asking=$!
await grep -q "read 100:1: answered" "$work/sim.log"
kill -s KILL "$sim"
wait "$sim" 2>/dev/null
check 7 "is it running" read $pump 100
start --fail-every 2 "$work/bare.json"
ready $pump
check 0 "^     100  0x0000      0$" read $pump 100
wait $asking
[ $? = 5 ] || fail "the answer of a killed device did not give 5"

# A device without device information: its failed answer is not delivered, only counted.
check 3 "on demand" read $pump 100
check 5 "could not be read \(counter 68\)" info $pump --timeout 0.5
stop INT "^3 requests: 1 answered, 2 refused, 0 dropped, 0 not sent$"
check 7 "is it running" read $pump 100 # still known: a static device stands below it

# Answers that come after their timeout are ignored.
start --delay-ms 300 "$work/bare.json"
ready $pump
check 5 "no answer from $pump within 0.1 s" read $pump 100 --timeout 0.1 --every 0.5 --count 2
stop INT "^2 requests: [12] answered, 0 refused, 0 dropped, [01] not sent$"

# Areas that need several requests, and what passes on the bus meanwhile.
# And whole numbers that move by their step, and wrap around.
echo "{\"fid\": \"$pump\", \"registers\": [{\"start\": 0, \"count\": 65536}], \"tags\": [
  {\"tag_type\": 1, \"tag\": 1, \"idd\": 1, \"value\": 4294967295, \"step\": 2, \"startReg\": 0, \"regLen\": 2},
  {\"tag_type\": 2, \"tag\": 1, \"idd\": 2, \"value\": -2, \"step\": -3, \"startReg\": 2, \"regLen\": 2}]}" >"$work/wide.json"
start "$work/wide.json"
ready $pump
check 0 "wrote" write $pump 2048=7
values "-2 4294967295" tags $pump info:1 port:1
values "-5 1" tags $pump info:1 port:1
for form in table json; do : >"$work/$form.err"; done
timeout 60 "$ovk_tool" --bus "$bus" monitor --count 6 >"$work/table" 2>"$work/table.err" &
monitor=$!
timeout 60 "$ovk_tool" --bus "$bus" monitor --json --count 6 >"$work/json" 2>"$work/json.err" &
for form in table json; do await grep -q watching "$work/$form.err"; done
values "0 0 7 0" read $pump 2046:4
json 0 '.data | map([.start, (.words | length), .words[-1]]) == [[1, 2048, 7], [65535, 1, 0]]' read $pump 1:2048 65535
grep -q "in 2 parts, not at one instant" "$work/err" || fail "parts were not told of"
values "$pump $level" topology --static
wait $monitor || fail "the monitor exited with $?"
wait $! || fail "the whole monitor exited with $?"
mv "$work/table" "$work/out"
[[ $(sed 's/ovk-[0-9]*/ovk-N/; s/  */ /g' "$work/out" | cut -d' ' -f4-) == "type reference payload
read request ovk-N-1 2046:4
read answer ovk-N-1 2046 = 0 0 7 0
read request ovk-N-1 1:1024, 1025:1024
read answer ovk-N-1 1 = 0 0 0 0 0 0 0 0 ... (1024), 1025 = 0 0 0 0 0 0 0 0 ... (1024)
read request ovk-N-2 65535:1
read answer ovk-N-2 65535 = 0" ]] || fail "the monitor showed something else"
[ "$(jq -c '[.message.msg_type, .time > 1e9]' "$work/json" | paste -sd' ')" = "$(
  for _ in 1 2 3; do printf '[200,true] [201,true] '; done | sed 's/ $//')" ] || fail "the whole monitor showed something else"
signalled TERM 143 monitor
stop TERM "0 not sent$"

left=$(find "$bus" -type f ! -name "topology*" -o -type s)
[ -z "$left" ] || fail "left behind: $left"
[ $failures = 0 ] && echo "all checks passed"
exit $((failures > 0))
