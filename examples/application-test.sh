#!/usr/bin/env bash
# Tests an application, first_client, against a simulated device that refuses every second request:
#   application-test.sh DIRECTORY-OF-THE-PROGRAMS
set -euo pipefail
PATH="$1:$PATH"
device=VR017_00042_00A0B1C2D3E4

work=$(mktemp -d) # the bus is in it, so no other test meets this one
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
mkfifo "$work/ready"
ovk --bus "$work/bus" sim --fail-every 2 "$(dirname "$0")/devices/pump-controller.json" >"$work/ready" 2>"$work/log" &
exec 3<"$work/ready"
read -r -t 20 line <&3
[ "$line" = "ready $device" ] # from here on it can be asked

[[ "$(first_client $device "$work/bus")" == "register 100 = 1"* ]]
[[ "$(first_client $device "$work/bus")" == "refused: failed on demand"* ]]

kill %1
wait %1 # 0 after SIGTERM; the last line of the log says what the simulation did
grep -q "^2 requests: 1 answered, 1 refused, 0 dropped, 0 not sent$" "$work/log"
echo "passed"
