#!/bin/sh
# demos_test.sh BIN: what the demo does where another messenger runs, and two demos side by side, each in a process
# table of its own.
set -eu
bin=$1
demo=$(dirname "$0")/../../scripts/demo

# Not where the system keeps process tables to itself.
unshare --user --pid --fork --mount-proc true || { echo "skipped: no process tables of one's own here"; exit 77; }

scratch=$(mktemp -d "${TMPDIR:-/tmp}/veltro-demos-XXXXXX")
trap 'rm -rf "$scratch"' EXIT

unshare --user --pid --fork --mount-proc "$demo" "$bin" >"$scratch/one" 2>&1 &
one=$!
unshare --user --pid --fork --mount-proc "$demo" "$bin" >"$scratch/two" 2>&1 &
two=$!
status=0
wait $one || { cat "$scratch/one"; status=1; }
wait $two || { cat "$scratch/two"; status=1; }
[ $status = 0 ] || exit 1
for output in one two; do
  grep -q "all as it should be" "$scratch/$output" || { echo "demo $output did not come to its end"; exit 1; }
done

# In one process table, beside a messenger of another root.
VELTRO_ROOT=$scratch/root
export VELTRO_ROOT
# shellcheck disable=SC2016 # for the inner shell
unshare --user --pid --fork --mount-proc sh -c '
  "$2/veltro" -q messenger start --json
  "$1" "$2" >"$3/said" 2>&1 && exit 3
  exit 0' sh "$demo" "$bin" "$scratch" >"$scratch/started" || { echo "the demo ran beside another messenger"; exit 1; }
process=$(sed -n 's/.*"pid": \([0-9]*\),.*/\1/p' "$scratch/started")
expected="demo: process $process (root $(realpath "$VELTRO_ROOT")) is named WhatsApp and would be taken for the messenger of this demo; \
in a process table of its own it runs beside: unshare --user --pid --fork --mount-proc scripts/demo"
[ "$(cat "$scratch/said")" = "$expected" ] || { cat "$scratch/said"; exit 1; }
