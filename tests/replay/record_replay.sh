#!/usr/bin/env bash
# A live session on the desk (head-unit simulator, the service with DAB_RECORD, two watching
# clients and dabctl calls) is recorded, the recording replayed by dabreplay, and each
# watching client's notifications compared with what the replay gave the same client.
#
#   record_replay.sh HEADUNIT_SIM DABPLAYER_SERVICE DABCTL DABREPLAY
#
# Tolerated differences, dropped from both sides before the comparison:
# - frequency changes (notify 2) while the simulated tuner seeks: the service throttles them
#   by time (one per 300 ms), and a replay's sleeps only approximate the recorded gaps, so
#   how many pass the throttle depends on the machine's timing.
set -euo pipefail
SIM_BIN=$1
SERVICE_BIN=$2
DABCTL=$3
REPLAY=$4

WORK=$(mktemp -d "${TMPDIR:-/tmp}/dabrecord-XXXXXX")
export DAB_BINDER_DIR=$WORK
PIDS=()
KEEP=0

cleanup() {
    for pid in "${PIDS[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
    for pid in "${PIDS[@]}"; do wait "$pid" 2>/dev/null || true; done
    if [ "$KEEP" = 1 ]; then echo "record_replay: files kept in $WORK" >&2; else rm -rf "$WORK"; fi
}
trap cleanup EXIT

fail() {
    echo "record_replay: $*" >&2
    KEEP=1
    exit 1
}

# Waits until the command succeeds, up to $1 tenths of a second.
wait_for() {
    local tenths=$1
    shift
    for _ in $(seq "$tenths"); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    return 1
}

resumed() { "$DABCTL" --json hu power | grep -q '"state":"resumed"'; }

"$SIM_BIN" </dev/null >/dev/null 2>"$WORK/sim.log" &
PIDS+=($!)
wait_for 100 "$DABCTL" hu ping || fail "the head-unit simulator did not come up"
DAB_RECORD=$WORK/session.dabreplay "$SERVICE_BIN" </dev/null >/dev/null 2>"$WORK/service.log" &
SERVICE_PID=$!
PIDS+=($SERVICE_PID)
wait_for 100 resumed || fail "the service was not resumed"

# Clients 1 and 2 of the recording: they connect before anything else talks to the service.
for n in 1 2; do
    "$DABCTL" watch >"$WORK/live$n.txt" 2>"$WORK/watch$n.err" &
    PIDS+=($!)
    wait_for 100 grep -q watching "$WORK/watch$n.err" || fail "watcher $n did not connect"
done

"$DABCTL" hu activate dab >/dev/null || fail "activation refused"
"$DABCTL" wait-active 10 >/dev/null || fail "the DAB source did not become active"
sleep 1
"$DABCTL" presetSeekUp >/dev/null
sleep 2.5
"$DABCTL" manualUp >/dev/null
sleep 2.5
"$DABCTL" sim antenna 3 >/dev/null
sleep 0.3
"$DABCTL" sim antenna 1 >/dev/null
"$DABCTL" requestServiceCompList >/dev/null
sleep 2
"$DABCTL" recall 1 >/dev/null
sleep 2.5

# The watchers first, so that the service records their deaths, then the service.
for pid in "${PIDS[@]:2}"; do kill -TERM "$pid"; wait "$pid" 2>/dev/null || true; done
kill -TERM "$SERVICE_PID"
wait "$SERVICE_PID" 2>/dev/null || true
PIDS=("${PIDS[0]}")

"$REPLAY" "$WORK/session.dabreplay" >"$WORK/replay.txt" 2>"$WORK/replay.err" || fail "the replay failed: $(cat "$WORK/replay.err")"

# Both sides as "notify ID EXT1 EXT2 ["TEXT"]", the text escaped the way a transcript does.
live_lines() {
    perl -ne 'use bytes;
        next unless /\((\d+)\)  ext1=(-?\d+)  ext2=(-?\d+)(?:  text="(.*)")?$/;
        my $l = "notify $1 $2 $3";
        if (defined $4) { my $t = $4; $t =~ s/([\\"])/\\$1/g; $t =~ s/([^\x20-\x7e])/sprintf("\\x%02x", ord $1)/ge; $l .= " \"$t\""; }
        print "$l\n";' "$1"
}
tolerated() { grep -v '^notify 2 ' || true; }

status=0
for n in 1 2; do
    live_lines "$WORK/live$n.txt" | tolerated >"$WORK/live$n.norm"
    grep "^client$n notify " "$WORK/replay.txt" | sed "s/^client$n //" | tolerated >"$WORK/replay$n.norm"
    [ -s "$WORK/live$n.norm" ] || fail "client $n received nothing live"
    if ! diff -u "$WORK/live$n.norm" "$WORK/replay$n.norm"; then
        echo "record_replay: client $n: the replay differs from the live session" >&2
        status=1
    fi
    echo "record_replay: client $n: $(wc -l <"$WORK/live$n.norm") notifications compared"
done
[ "$status" = 0 ] || fail "recording and replay differ"
