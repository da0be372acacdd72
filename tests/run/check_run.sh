#!/usr/bin/env bash
# The run command's start-up contract against a build tree: a process that exits during
# start-up is reported at once with its exit status and the reason from its log; each
# instance keeps its logs in its own runtime directory; a second instance on the same
# runtime directory is refused without touching the first.
#   check_run.sh RUN_SCRIPT BUILD_DIR
set -u
run=$1
build=$2
work=$(mktemp -d)
first=
cleanup() {
    [ -n "$first" ] && kill "$first" 2>/dev/null && wait "$first" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
fail() {
    echo "check_run: $*"
    exit 1
}

# A scenario file the simulated tuner refuses: the service exits 1 right after it starts.
echo '{"stations": [' >"$work/bad.json"
start=$(date +%s%N)
DAB_SIM_SCENARIO=$work/bad.json "$run" --demo --no-build --build-dir "$build" </dev/null >"$work/bad.out" 2>&1
status=$?
elapsed_ms=$((($(date +%s%N) - start) / 1000000))
cat "$work/bad.out"
[ "$status" = 1 ] || fail "run.sh exited with $status, not 1"
[ "$elapsed_ms" -lt 5000 ] || fail "run.sh took $elapsed_ms ms to notice"
grep -q '^run.sh: dabplayer_service exited during start-up with status 1; its log (.*/logs/dabplayer_service.log) says:$' "$work/bad.out" ||
    fail "no line naming the process and its exit status"
grep -q "^    .* E DABSim: scenario refused: $work/bad.json" "$work/bad.out" || fail "the reason is not shown"
! grep -q 'did not resume' "$work/bad.out" || fail "the time-out message was shown as well"

# One instance in its own runtime directory, fed commands through a pipe.
export DAB_BINDER_DIR=$work/rt
mkfifo "$work/in"
"$run" --no-build --build-dir "$build" <"$work/in" >"$work/first.out" 2>&1 &
first=$!
exec 8>"$work/in"
for _ in $(seq 200); do
    grep -q '^run.sh: the radio is on' "$work/first.out" && break
    kill -0 "$first" 2>/dev/null || break
    sleep 0.05
done
grep -q '^run.sh: the radio is on' "$work/first.out" || { cat "$work/first.out"; fail "the first instance did not start"; }
[ -s "$DAB_BINDER_DIR/logs/dabplayer_service.log" ] || fail "no service log in the runtime directory"
size=$(stat -c %s "$DAB_BINDER_DIR/logs/headunit_sim.log")

"$run" --no-build --build-dir "$build" </dev/null >"$work/second.out" 2>&1
status=$?
cat "$work/second.out"
[ "$status" = 1 ] || fail "the second instance exited with $status, not 1"
grep -qxF "run.sh: a head unit already runs in $DAB_BINDER_DIR (stop it first)" "$work/second.out" ||
    fail "the second instance did not say why it refused"
[ "$(stat -c %s "$DAB_BINDER_DIR/logs/headunit_sim.log")" -ge "$size" ] || fail "the first instance's log was truncated"
"$build/tools/dabctl/dabctl" hu ping >/dev/null || fail "the first instance no longer answers"

echo quit >&8
exec 8>&-
wait "$first"
status=$?
first=
[ "$status" = 0 ] || { cat "$work/first.out"; fail "the first instance exited with $status"; }
[ -z "$(ls "$DAB_BINDER_DIR"/*.sock 2>/dev/null)" ] || fail "sockets left behind"
echo "check_run: passed"
