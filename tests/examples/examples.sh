#!/bin/bash
# The example programs against each other and against a simulated device, on a bus of their own.
# Arguments: the directory of the programs and the tool, and the folder of the example devices.
set -u
programs=$1
devices=$2
pump=VR017_00042_00A0B1C2D3E4
level=VR101_10017_00000000A1B2
silent=VR101_10018_00000000A1B3
server=VR002_00002_0000000000D2
station=VR010_00001_0000000000A0
inlet=VR110_00001_0000000000A1
outlet=VR110_00002_0000000000A2
nobody=VR999_00001_000000000001
work=$(mktemp -d)
bus=$work/bus
started=()
trap 'kill "${started[@]}" 2>/dev/null; rm -rf "$work"' EXIT
failures=0

# check CODE PROGRAM ARGUMENT... : runs a program; its exit code, and all its output, which stands on standard input.
check() {
  local code=$1 got=0
  shift
  "$programs/$1" "${@:2}" >"$work/out" 2>"$work/err" || got=$?
  if [ $got != "$code" ] || ! diff - "$work/out" >"$work/diff"; then
    echo "FAILED: '$*' exited with $got, expected $code; < expected, > printed:"
    sed 's/^/    /' "$work/diff" "$work/err"
    failures=$((failures + 1))
  fi
}

# start READY-LINES PROGRAM ARGUMENT... : starts a program and returns when it said that often that it is ready.
start() {
  local count=$1 line
  mkfifo "$work/ready"
  "$programs/$2" "${@:3}" >"$work/ready" 2>"$work/$2.err" &
  started+=($!)
  exec 3<"$work/ready"
  rm "$work/ready"
  while [ "$count" -gt 0 ]; do
    read -r -t 20 line <&3 || { echo "FAILED: $2 did not start"; cat "$work/$2.err"; exit 1; }
    [[ $line == "ready VR"* ]] && count=$((count - 1))
  done
}

# stop CODE : ends the program started last, which must end with that exit code.
stop() {
  local got=0
  kill "${started[-1]}"
  wait "${started[-1]}" || got=$?
  unset 'started[-1]'
  [ $got = "$1" ] && return
  echo "FAILED: a server exited with $got instead of $1"
  sed 's/^/    /' "$work"/*.err
  failures=$((failures + 1))
}

check 1 first_client $server "$bus" <<<"unknown destination or invalid argument: nothing was sent"

start 1 first_server "$bus"
check 0 first_client $server "$bus" <<END
register 100 = 7
register 101 = 8
register 102 = 9
register 103 = 10
END
check 1 open_requests --bus "$bus" $server:99 <<<"$server: only registers 100 to 115 are here"
stop 143 # by the signal itself, not by a sanitizer

start 3 sensor_station "$bus"
check 0 ovk --bus "$bus" write $inlet 2=7,8 0=216 <<END
wrote 2 registers: 2 to 3
wrote 1 register: 0
END
check 3 ovk --bus "$bus" write $inlet 0=1 3=1,2 </dev/null
check 0 ovk --bus "$bus" read $inlet 0:4 <<END
register     hex  value
       0  0x00D8    216
       1  0x0001      1
       2  0x0007      7
       3  0x0008      8
END
check 0 ovk --bus "$bus" read $outlet 0 2:2 <<END
register     hex  value
       0  0x01E0    480
       2  0x0000      0
       3  0x0000      0
END
check 3 ovk --bus "$bus" read $outlet 0 4 </dev/null
check 3 ovk --bus "$bus" read $station 0 </dev/null
check 0 first_client $outlet "$bus" <<<"refused: only registers 0 to 3 are here"
stop 0
summary=$(cat "$work/sensor_station.err")
[ "$summary" = "7 requests, 7 answers delivered" ] || { echo "FAILED: the station said: $summary"; failures=$((failures + 1)); }

for sensor in $level $silent; do
  check 0 ovk --bus "$bus" topology add $pump $sensor <<<"added $sensor below $pump"
done
start 3 ovk --bus "$bus" sim --id $pump "$devices"/*.json
check 1 open_requests --bus "$bus" $silent:0 $nobody:1 $pump:102 $level:0 <<END
$nobody: unknown destination or invalid argument: nothing was sent
$pump: register 102 = 1450
$level: register 0 = 3275
$silent: no answer
END
stop 0

[ $failures = 0 ] && echo "all examples do what they should"
exit $((failures > 0))
