# shellcheck shell=bash
# For the tests to source.

# await COMMAND... : until the command succeeds. What does not come within 20 s fails the whole test, by name.
await() {
  local end=$((SECONDS + 20))
  until "$@"; do
    ((SECONDS < end)) || { echo "FAILED: waited in vain: $*"; exit 1; }
    sleep 0.01
  done
}
