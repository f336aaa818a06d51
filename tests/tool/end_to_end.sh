#!/bin/bash
# The tool against simulated devices in a bus of its own: every command, every exit code that a bus can give.
# Arguments: the tool, and the folder of the example devices.
set -u
ovk_tool=$1
devices=$2
pump=VR017_00042_00A0B1C2D3E4
level=VR101_10017_00000000A1B2
silent=VR101_10018_00000000A1B3
work=$(mktemp -d)
export LC_ALL=C
trap 'kill "${sims[@]}" 2>/dev/null; rm -rf "$work"' EXIT
sims=()
failures=0

ovk() { "$ovk_tool" --bus "$work/bus" "$@"; }

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

# start READY-LINES ARGUMENT... : starts a simulation and returns when it said that it is ready; $sim is its process.
start() {
  local count=$1 line
  shift
  mkfifo "$work/ready"
  "$ovk_tool" --bus "$work/bus" sim "$@" >"$work/ready" 2>"$work/sim.log" &
  sim=$!
  sims+=("$sim")
  exec 3<"$work/ready"
  rm "$work/ready"
  while [ "$count" -gt 0 ] && read -r -t 20 line <&3; do
    [[ $line == "ready VR"* ]] && count=$((count - 1))
  done
  [ "$count" = 0 ] || { echo "FAILED: the simulation did not start"; cat "$work/sim.log"; exit 1; }
}

# stop SIGNAL PATTERN : ends the simulation, which must end well and say PATTERN.
stop() {
  kill -s "$1" "$sim"
  wait "$sim" || fail "the simulation exited with $? on SIG$1"
  grep -Eq "$2" "$work/sim.log" || fail "no '$2' in: $(cat "$work/sim.log")"
}

check 2 "VR017_00042_00A0B1C2D3E4" read pump 100
check 2 "'VR1' is not an identifier" --id VR1 read $pump 100
check 2 "'' is not an identifier" --id "" topology
check 2 "1 to 1024" read $pump 100:1025
check 2 "two areas" read $pump 1 2 3
check 2 "FID is required; see 'ovk read --help'" read
check 2 "PARENT is required; see 'ovk topology add --help'" topology add
check 2 "'frobnicate' is not a command or option; see 'ovk --help'" frobnicate
check 2 "no command given"
check 2 "1 required SEC missing" --timeout
check 2 "needs? a controller" sim "$devices/pump-controller.json" "$devices/level-sensor.json"
check 2 "either FID" tags $pump 17 --config "$devices/../tags/level.json"
check 1 "telegram" tags --config "$devices/level-sensor.json"
check 0 "Exit codes" --help
for command in sim read write tags info topology "topology add" "topology remove" counters; do
  check 0 "^  ovk $command" $command --help
  awk 'length > 80' "$work/out" | grep . && fail "'$command --help' is wider than 80 columns"
done
check 0 "^ovk [0-9]+\." --version
check 0 "pump-controller.json: good" sim --check "$devices"/*.json
check 1 "^ovk: $work/none: No such file or directory$" sim "$work/none"
check 1 "^ovk: $work: Is a directory$" tags --config "$work"
check 1 "^ovk: /dev/null: is empty$" sim --check /dev/null
check 1 "already the device" sim --check "$devices/level-sensor.json" "$devices/level-sensor.json"
check 4 "known: nobody" read $pump 100
: >"$work/file"
"$ovk_tool" --bus "$work/file" read $pump 100 >"$work/out" 2>"$work/err"
[ $? = 8 ] || fail "a bus directory that is a file did not give 8"

check 0 "added" topology add $pump $level "tank level"
check 0 "added" topology add $pump $silent
check 0 "^$level +sensor +tank level +$pump +offline" topology --static $pump
check 7 "could not be sent" read $level 0
start 3 --id $pump "$devices"/*.json

check 0 "^ +102  0x05AA   1450$" read $pump 100:4
check 0 "wrote 2 registers: 102 to 103" write $pump 102=1500,0x3C 1000=7
check 0 "^    1000  0x0007      7$" read $pump 102:2 0x3E8
check 0 "^    1063  " read $pump 1000:64
check 0 "^       0  0x0CCB   3275$" read $level 0 --timeout 10
check 3 "register 300 does not exist" read $pump 100:2 300
check 3 "register 200 is read-only" write $pump 100=0 200=1
check 0 "^     100  0x0001" read $pump 100
check 4 "VR999_00001_000000000001.*$pump" read VR999_00001_000000000001 1
check 5 "no answer from $silent within 0.2 s" read $silent 0 --timeout 0.2

check 0 "^port:17 +f32 +21.5  200:2$" tags $pump 17
check 0 "^port:17 +f32 +21.75  200:2$" tags $pump port:0x11
check 0 "^port:18 +u32 +4294967295  202:2$" tags $pump 19 18
check 0 "^port:19 +i32 +-5  100:1$" tags $pump 19 18
check 0 "^info:3 +text +P-300/B  1000:10$" tags $pump info:3 info:4
check 0 "^info:4 +- +-  1010:4$" tags $pump info:3 info:4
check 0 "^port:1 +f32 +3.275  0:1$" tags --config "$devices/../tags/level.json"
check 3 "tag info:17 does not exist" tags $pump 17 info:17
mapfile -t many < <(yes 17 | head -n 300)
check 3 "ask for less" tags $pump "${many[@]}"

check 0 "^tag register blocks +100 200$" info $pump
check 0 "^$pump +controller .* online$" topology
check 0 "^$level +sensor +tank level +$pump +online" topology
check 0 "^ +47 +[1-9][0-9]*  " counters $pump
check 0 "removed" topology remove $pump $silent
check 4 "not on the bus" read $silent 0
check 1 "not possible" topology remove $pump $silent
ovk read $pump 100 >/dev/full 2>"$work/err"
[ $? = 1 ] || fail "a full disk did not give 1"
check 8 "could not be opened as $pump" --id $pump read $level 0
stop TERM "^[0-9]+ requests: [1-9][0-9]* answered, 4 refused, 1 dropped, 0 not sent$"

# A device without device information: its failed answer is not delivered, only counted.
echo "{\"fid\": \"$pump\", \"registers\": [{\"start\": 100, \"count\": 1}]}" >"$work/bare.json"
start 1 --fail-every 2 "$work/bare.json"
check 0 "^     100  0x0000      0$" read $pump 100
check 3 "on demand" read $pump 100
check 5 "could not be read \(counter 68\)" info $pump --timeout 0.5
stop INT "^3 requests: 1 answered, 2 refused, 0 dropped, 0 not sent$"
check 7 "is it running" read $pump 100 # still known: a static device stands below it
echo "{" >"$work/bus/topology.json"
check 0 "^identifier" topology
check 1 "static devices could not be read .*not valid JSON" topology --static

left=$(find "$work/bus" -type f ! -name "topology*" -o -type s)
[ -z "$left" ] || fail "left behind: $left"
[ $failures = 0 ] && echo "all checks passed"
exit $((failures > 0))
