#!/usr/bin/env bash
# Shows the whole system on one machine: a simulated pump controller with two sensors below it, asked by the tool.
# Installs what is missing (Debian packages, as root or with sudo), builds in build/release, and uses a bus of its own
# that is gone afterwards. Each command stands before its output; a step that ends unexpectedly ends the demo.
set -euo pipefail
cd "$(dirname "$0")"

scripts/need g++ cmake ninja-build libcli11-dev nlohmann-json3-dev
echo "building ..."
cmake --preset release >/dev/null
cmake --build --preset release --target ovk_tool >/dev/null

bus=$(mktemp -d)
simulation=
cleanup() {
  [ -z "$simulation" ] || kill "$simulation" 2>/dev/null || true
  rm -rf "$bus"
}
trap cleanup EXIT

ovk() { build/release/bin/ovk --bus "$bus/bus" "$@"; }

# show TEXT EXPECTED-EXIT-CODE ARGUMENT...
show() {
  local text=$1 expected=$2 code=0
  shift 2
  printf '\n# %s\n$ ovk' "$text"
  local argument
  for argument in "$@"; do
    [[ $argument == *" "* ]] && printf " '%s'" "$argument" || printf ' %s' "$argument"
  done
  printf '\n'
  ovk "$@" 2>&1 || code=$?
  if [ "$code" != "$expected" ]; then
    echo "DEMO FAILED: exit code $code instead of $expected" >&2
    exit 1
  fi
  [ "$code" = 0 ] || echo "(exit code $code)"
}

pump=VR017_00042_00A0B1C2D3E4
level=VR101_10017_00000000A1B2
silent=VR101_10018_00000000A1B3

show "Two sensors are reached at the pump controller" 0 topology add $pump $level "tank level"
show "The second one" 0 topology add $pump $silent "inlet pressure"

printf '\n# The controller and its sensors, simulated in the background\n'
echo "\$ ovk sim --id $pump examples/devices/*.json &"
mkfifo "$bus/ready"
build/release/bin/ovk --bus "$bus/bus" sim --id $pump examples/devices/*.json >"$bus/ready" 2>"$bus/log" &
simulation=$!
exec 3<"$bus/ready"
for _ in 1 2 3; do
  read -r -t 20 line <&3 || { cat "$bus/log" >&2; echo "DEMO FAILED: the simulation did not start" >&2; exit 1; }
  echo "$line"
done

show "Who is on the bus?" 0 topology
show "Only the static devices" 0 topology --static
show "Read four registers" 0 read $pump 100:4
show "Write two of them, and one more in the same request" 0 write $pump 102=1500,60 1000=0x2A
show "Read back what was written" 0 read $pump 102:2 1000
show "A sensor is asked the same way; its answer takes 50 ms" 0 read $level 0:2
show "A request is granted whole or refused whole" 3 write $pump 100=0 200=1
show "Tag values: of ports and of the device information" 0 tags $pump 17 18 19 info:3 info:4
show "The same from a configuration item" 0 tags --config examples/tags/level.json
show "The register layout of a device" 0 info $pump
show "This sensor never answers" 5 read $silent 0 --timeout 0.5
show "Nobody has this identifier" 4 read VR999_00001_000000000001 100
show "A static device can be taken away" 0 topology remove $pump $silent
show "What the controller counted meanwhile" 0 counters $pump

printf '\n# The simulation ends with what it did\n$ kill %%1\n'
kill "$simulation"
wait "$simulation" || { echo "DEMO FAILED: the simulation ended with an error" >&2; exit 1; }
simulation=
tail -n 1 "$bus/log"
printf '\nAll steps went as expected.\n'
