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
export LC_ALL=C
trap 'kill "${sims[@]}" 2>/dev/null; rm -rf "$work"' EXIT
sims=()
failures=0

ovk() { "$ovk_tool" --bus "$bus" "$@"; }

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
check 2 "1 to 1024" read $pump 100:1025
check 2 "assigns nothing" write $pump 100
check 2 "two areas" read $pump 1 2 3
check 2 "is not a time" read $pump 1 --timeout 0
check 2 "FID is required; see 'ovk read --help'" read
check 2 "PARENT is required; see 'ovk topology add --help'" topology add
check 2 "'frobnicate' is not a command or option; see 'ovk --help'" frobnicate
check 2 "no command given"
check 2 "1 required SEC missing" --timeout
check 2 "either FID" tags $pump 17 --config "$devices/../tags/level.json"
check 2 "not an identifier" topology add $pump VR1
check 2 "not an identifier" topology --static VR1
check 1 "telegram" tags --config "$devices/level-sensor.json"
check 0 "Exit codes" --help
for command in sim read write tags info topology "topology add" "topology remove" counters; do
  check 0 "^  ovk $command" $command --help
  awk 'length > 80' "$work/out" | grep . && fail "'$command --help' is wider than 80 columns"
done
check 0 "^ovk [0-9]+\." --version
check 1 "^ovk: $work: Is a directory$" tags --config "$work"
check 1 "^ovk: /dev/null: is empty$" sim --check /dev/null

# Simulations that do not start.
echo "{\"fid\": \"$level\", \"nmae\": \"\"}" >"$work/misspelt.json"
check 2 "FILE is required" sim
check 2 "not in range" sim --fail-every -1 "$devices/pump-controller.json"
check 2 "needs? a controller" sim "$devices/pump-controller.json" "$devices/level-sensor.json"
check 1 "^ovk: $work/none: No such file or directory$" sim "$work/none"
check 1 "unknown member 'nmae'" sim --id $pump "$devices/pump-controller.json" "$work/misspelt.json"
check 1 "unknown member 'nmae'" sim --check "$work/misspelt.json"
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
check 0 "wrote 2 registers: 102 to 103" write $pump 102=1500,0x3C 1000=7
check 0 "^    1000  0x0007      7$" read $pump 102:2 0x3E8
check 0 "^    1063  " read $pump 1000:64
check 0 "^       0  0x0CCB   3275$" read $level 0 --timeout 10
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
mapfile -t many < <(yes 17 | head -n 2000)
check 3 "ask for less" tags $pump "${many[@]:0:300}"
check 7 "a message has 1 to 16383 bytes" tags $pump "${many[@]}"

check 0 "^tag register blocks +100 200$" info $pump
check 0 "^$pump +controller .* online$" topology
check 0 "^$level +sensor +tank level +$pump +online" topology
check 0 "^ +47 +[1-9][0-9]*  " counters $pump
check 1 "has no counters here" counters $level
check 0 "removed" topology remove $pump $silent
check 4 "not on the bus" read $silent 0
check 1 "not possible" topology remove $pump $silent
ovk read $pump 100 >/dev/full 2>"$work/err"
[ $? = 1 ] || fail "a full disk did not give 1"
check 8 "could not be opened as $pump .*another process has it" --id $pump read $level 0
check 8 "could not be opened as $pump .*another process has it" sim "$devices/pump-controller.json"
stop TERM "^[0-9]+ requests: [1-9][0-9]* answered, 4 refused, 1 dropped, 0 not sent$"

# Killed in the middle of traffic: who asked waits in vain, who asks is told, and the device is back at once.
echo "{\"fid\": \"$pump\", \"registers\": [{\"start\": 100, \"count\": 1}]}" >"$work/bare.json"
start --delay-ms 60000 "$work/bare.json"
ready $pump
ovk read $pump 100 --timeout 1 >"$work/out" 2>"$work/err" &
asking=$!
until grep -q "read 100:1: answered" "$work/sim.log"; do :; done
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

left=$(find "$bus" -type f ! -name "topology*" -o -type s)
[ -z "$left" ] || fail "left behind: $left"
[ $failures = 0 ] && echo "all checks passed"
exit $((failures > 0))
