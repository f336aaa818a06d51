#!/bin/bash
# What can befall a bus directory while participants run: nothing hangs, nothing crashes, and who asks is told why.
# Arguments: the tool, and a device file. Full disks are played as root only.
set -u
ovk_tool=$1
device=$2
pump=VR017_00042_00A0B1C2D3E4
new=VR001_00001_0000000000AA
own_mounts=${3-}
[ -n "$own_mounts" ] || ! unshare -m true 2>/dev/null || exec unshare -m "$0" "$ovk_tool" "$device" own-mounts
work=$(mktemp -d)
bus=$work/bus
. "$(dirname "$0")/await.sh"
trap 'kill $sim $reader $lister $locker 2>/dev/null; umount "$work/disk" "$work/bus" 2>/dev/null; chmod -R u+w "$work"; rm -rf "$work"' EXIT
reader='' lister='' locker='' skipped=''
failures=0

complain() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# check CODE PATTERN ARGUMENT... : runs the tool; its exit code, and a line of its output on either stream.
check() {
  local code=$1 pattern=$2 got
  shift 2
  timeout 30 "$ovk_tool" --bus "$bus" "$@" >"$work/out" 2>&1
  got=$?
  [ $got = "$code" ] && grep -Eq -- "$pattern" "$work/out" ||
    complain "'$*' exited with $got, not $code, or printed nothing like '$pattern': $(cat "$work/out")"
}

start() {
  : >"$work/ready"
  timeout 60 "$ovk_tool" --bus "$bus" sim "$device" >"$work/ready" 2>"$work/sim.log" &
  sim=$!
  await grep -q ready "$work/ready"
}
works() { check 0 '^[0-9]+$' read $pump 100 -q; }
stop() {
  kill $sim
  wait $sim || complain "the device ended with $?: $(cat "$work/sim.log")"
}

# instead THING COMMAND... : what stands at the place of a file of the bus while the command runs.
instead() {
  local place=$bus/$2
  case $1 in
    nothing) ;;
    fifo) mkfifo "$place" ;;
    folder) mkdir "$place" ;;
    file) : >"$place" ;;
    link) ln -s "$work/elsewhere" "$place" ;;
  esac
  shift 2
  "$@"
  rm -rf "$place"
}

start
for thing in nothing fifo folder file link; do
  mv "$bus/$pump.c2" "$work/kept"
  instead $thing $pump.c2 check 7 "cannot write to $pump: it is not running" read $pump 100
  mv "$work/kept" "$bus/$pump.c2"
  works
done
instead folder $new.lock check 8 "cannot join the bus as $new: Is a directory" --id $new read $pump 100
instead link $new.lock check 8 "cannot join the bus as $new: Too many levels" --id $new read $pump 100
for thing in fifo folder file link; do instead $thing $new.counters check 0 '^1$' --id $new read $pump 100 -q; done
for thing in fifo folder; do
  instead $thing topology.json check 0 "may be incomplete .*topology.json ignored: not a file" topology
  instead $thing topology.json check 1 "topology.json ignored: not a file" topology add $pump $new pipe
done
for thing in fifo file link; do
  instead $thing topology.json.new check 0 added topology add $pump $new pipe
  check 0 removed topology remove $pump $new
done

# Too few descriptors: the list is whole, or said not to be.
for limit in {5..9}; do
  (ulimit -n "$limit" && timeout 30 "$ovk_tool" --bus "$bus" topology >"$work/out" 2>"$work/err") &&
    [ ! -s "$work/err" ] && ! grep -q "^$pump " "$work/out" && complain "with $limit descriptors nobody was listed"
done

# listed IDENTIFIERS : whether the lists that are made all the time hold just these by now.
listed() { [ "$(tail -n 2 "$work/lists" | sort -u | paste -sd' ')" = "$1" ]; }

# goes_on FILE : what is written to it again and again goes on being written.
goes_on() {
  : >"$1"
  await test -s "$1"
}

# A clock that was set forward or back: whoever joins is seen, every edit too, and nobody is lost.
echo '{}' >"$bus/topology.json"
"$ovk_tool" --bus "$bus" topology -q --every 0.02 >>"$work/lists" 2>"$work/lister" &
lister=$!
for time in "2400-01-01" "-20 years"; do
  await listed $pump
  touch -d "$time" "$bus" "$bus/topology.json"
  goes_on "$work/lists"
  works
  check 0 added topology add $pump $new
  await listed "$new $pump"
  touch -d "$time" "$bus" "$bus/topology.json"
  goes_on "$work/lists"
  echo '{}' >"$bus/topology.json" # in place: the directory keeps its time
done
await listed $pump
kill $lister
check 0 "^$pump +controller .*online" topology

# Made read-only underneath: who takes part goes on, who comes is told why not, and afterwards all is as before.
protect() { chmod 0500 "$bus"; }
unprotect() { chmod 0700 "$bus"; }
refusal="Permission denied"
if [ -n "$own_mounts" ]; then
  protect() { mount --bind "$bus" "$bus" && mount -o remount,bind,ro "$bus"; }
  unprotect() { umount "$bus"; }
  refusal="Read-only file system"
fi
if [ -n "$own_mounts" ] || [ "$(id -u)" != 0 ]; then
  "$ovk_tool" --bus "$bus" read $pump 100 -q --every 0.02 >>"$work/flow" 2>"$work/disturbed" &
  reader=$!
  goes_on "$work/flow"
  protect || complain "the directory could not be made read-only"
  check 8 "cannot join the bus as .*: $refusal" read $pump 100
  check 1 "$refusal" topology add $pump $new pipe
  check 0 "^$pump +controller .*online" topology
  goes_on "$work/flow"
  unprotect
  works
  check 0 added topology add $pump $new
  check 0 removed topology remove $pump $new
  goes_on "$work/flow"
  [ ! -s "$work/disturbed" ] || complain "the reader was disturbed: $(cat "$work/disturbed")"
  kill $reader
  wait $reader
else
  skipped+=", a read-only directory"
fi

# Locked by somebody who hangs: an edit gives up.
(flock 9 && exec sleep 30) 9<"$bus" &
locker=$!
is_locked() { ! flock -n "$bus" true; }
await is_locked
check 1 "other processes have kept it locked for 5 s" topology add $pump $new
kill $locker
wait $locker 2>/dev/null
check 0 added topology add $pump $new
check 0 removed topology remove $pump $new

# Moved away and brought back, with requests in between.
mv "$bus" "$work/away"
check 4 "$pump is not on the bus in $bus .known: nobody." read $pump 100
rm -r "$bus"
mv "$work/away" "$bus"
works

# Removed. Who took part is off the bus and told so, until it starts again; who comes then meets in the new one.
"$ovk_tool" --bus "$bus" read $pump 100 -q --every 0.02 --count 100 --timeout 0.1 >"$work/values" 2>"$work/reader" &
reader=$!
await test -s "$work/values"
rm -r "$bus"
await test -s "$work/reader"
stop
start
works
wait $reader
[[ $? = [457] ]] || complain "the reader was not told: $(tail -n 1 "$work/reader")"
stop

# Disks. The smallest things need no space: a full disk costs counters and edits; without inodes nobody joins.
bus=$work/disk
mkdir "$bus"
if [ -n "$own_mounts" ] && mount -t tmpfs -o size=16k,nr_inodes=8,mode=0700 none "$bus"; then
  head -c 100000 /dev/zero >"$bus/filler" 2>/dev/null
  start
  works
  check 0 "^$pump " topology
  check 1 "cannot write: No space left" topology add $pump $new pipe
  [ ! -e "$bus/topology.json.new" ] || complain "a failed edit left its file"
  touch "$bus"/inode{1,2,3,4,5} 2>/dev/null
  check 8 "cannot join the bus as .*: No space left" read $pump 100
  rm "$bus"/inode* "$bus/filler"
  works
  stop
else
  skipped+=", a full disk"
fi

[ $failures = 0 ] && echo "all checks passed${skipped:+; skipped:${skipped#,}}"
