#!/usr/bin/env bash
# Builds everything and starts a head unit on the desk: the head-unit simulator (media
# manager, media data service, system control manager), then the DAB player service with the
# simulated tuner; the service is resumed, the DAB source activated, and dabdesk shows the
# radio live while you type commands (help lists them). Ctrl-C or "quit" stops every process
# this script started and removes their sockets.
#
#   scripts/run.sh                  build, start, live view
#   scripts/run.sh --demo           build, start, scripted tour instead of the live view; exits
#                                   with the tour's status (0 when every step passed). Needs no
#                                   terminal and runs in a private runtime directory.
#   scripts/run.sh --web            build, start, and serve the radio screen to a browser (dabweb
#                                   on http://127.0.0.1:8417/) instead of the live view
# Options:
#   --web-port N                    dabweb's port with --web (default 8417)
#   --no-build                      use what is already built
#   --build-dir DIR                 build tree to build and run from (default build/release)
#   --record FILE                   the service records the session as a dabreplay script in
#                                   FILE (DAB_RECORD): replay it with dabreplay FILE
#
# Without --demo the head unit uses the default runtime directory, so dabctl in any other
# shell reaches it: dabctl status, dabctl watch, dabctl hu infobar, dabctl sim antenna 3.
# Logs of the two processes go to logs/ in the runtime directory, so that every instance keeps
# its own (with --demo: shown on failure). A second run.sh on the same runtime directory is
# refused before it touches anything of the first. When the simulator or the service exits
# during start-up, run.sh stops at once and says which one, its exit status and why.
set -euo pipefail
CALLER_DIR=$PWD
cd "$(dirname "$0")/.."
ROOT=$PWD

usage() {
    # The comment block at the top of this file.
    awk 'NR > 1 && /^#/ { sub(/^# ?/, ""); print; next } NR > 1 { exit }' "$0"
}

BUILD_DIR=build/release
BUILD=1
DEMO=0
RECORD=
WEB=0
WEB_PORT=8417
while [ $# -gt 0 ]; do
    case "$1" in
        --demo) DEMO=1 ;;
        --web) WEB=1 ;;
        --web-port)
            [ $# -ge 2 ] || { echo "run.sh: --web-port needs a port" >&2; exit 2; }
            WEB_PORT=$2
            shift ;;
        --no-build) BUILD=0 ;;
        --build-dir)
            [ $# -ge 2 ] || { echo "run.sh: --build-dir needs a directory" >&2; exit 2; }
            BUILD_DIR=$2
            shift ;;
        --record)
            [ $# -ge 2 ] || { echo "run.sh: --record needs a file" >&2; exit 2; }
            RECORD=$2
            shift ;;
        -h|--help) usage; exit 0 ;;
        *) echo "run.sh: unknown option $1" >&2; usage >&2; exit 2 ;;
    esac
    shift
done
case "$BUILD_DIR" in /*) ;; *) BUILD_DIR=$ROOT/$BUILD_DIR ;; esac
# The service runs from the repository root; a relative recording path means the caller's.
if [ -n "$RECORD" ]; then
    case "$RECORD" in /*) ;; *) RECORD=$CALLER_DIR/$RECORD ;; esac
fi

if [ "$BUILD" = 1 ]; then
    scripts/install-deps.sh
    JOBS=$(nproc 2>/dev/null || echo 2)
    cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDAB_BUILD_TESTS=OFF >/dev/null
    cmake --build "$BUILD_DIR" -j "$JOBS"
fi

SIM_BIN=$BUILD_DIR/tools/headunit_sim/headunit_sim
SERVICE_BIN=$BUILD_DIR/dabplayer_service
DABCTL=$BUILD_DIR/tools/dabctl/dabctl
DESK=$BUILD_DIR/tools/dabdesk/dabdesk
WEB_BIN=$BUILD_DIR/tools/dabweb/dabweb
[ "$WEB" = 1 ] && [ "$DEMO" = 1 ] && { echo "run.sh: --web and --demo exclude each other" >&2; exit 2; }
BINS=("$SIM_BIN" "$SERVICE_BIN" "$DABCTL" "$DESK")
[ "$WEB" = 0 ] || BINS+=("$WEB_BIN")
for bin in "${BINS[@]}"; do
    [ -x "$bin" ] || { echo "run.sh: $bin is not built" >&2; exit 1; }
done

# The runtime directory the binder transport uses: the same rule as the host layer's, made
# explicit so that this script can clean up after the processes.
PRIVATE_DIR=0
if [ "$DEMO" = 1 ]; then
    DAB_BINDER_DIR=$(mktemp -d "${TMPDIR:-/tmp}/dabdesk-XXXXXX")
    PRIVATE_DIR=1
elif [ -z "${DAB_BINDER_DIR:-}" ]; then
    if [ -n "${XDG_RUNTIME_DIR:-}" ]; then
        DAB_BINDER_DIR=$XDG_RUNTIME_DIR/dabbinder
    else
        DAB_BINDER_DIR=/tmp/dabbinder-$(id -u)
    fi
fi
export DAB_BINDER_DIR
LOG_DIR=$DAB_BINDER_DIR/logs

refuse() {
    echo "run.sh: a head unit already runs in $DAB_BINDER_DIR (stop it first)" >&2
    exit 1
}
# The lock lives as long as this script and the processes it starts; nothing of another
# instance is touched before it is held.
# Private to this user: every process refuses a runtime directory others could enter.
mkdir -p -m 700 "$DAB_BINDER_DIR"
exec 9>>"$DAB_BINDER_DIR/run.lock"
flock -n 9 || refuse
if [ "$PRIVATE_DIR" = 0 ]; then
    # A head unit started otherwise: dabctl answers 1 only when nobody serves the name.
    if "$DABCTL" hu ping >/dev/null 2>&1 || { "$DABCTL" sim status >/dev/null 2>&1 || [ $? -ne 1 ]; }; then
        refuse
    fi
fi
mkdir -p "$LOG_DIR"

SOCKETS=(HeadUnitMediaManager HeadUnitMediaData HeadUnitSysCtrl HeadUnitControl DABPlayer DABSimControl)
SIM_PID=
SERVICE_PID=
WEB_PID=
FAILED=0

stop_process() {
    local pid=$1
    [ -n "$pid" ] || return 0
    kill -TERM "$pid" 2>/dev/null || true
    for _ in $(seq 30); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    kill -KILL "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
}

show_logs() {
    for f in "$LOG_DIR"/headunit_sim.log "$LOG_DIR"/dabplayer_service.log; do
        [ -f "$f" ] || continue
        echo "--- last lines of $f" >&2
        tail -n 40 "$f" >&2
    done
}

cleanup() {
    trap - EXIT INT TERM HUP
    stop_process "$WEB_PID"
    stop_process "$SERVICE_PID"
    stop_process "$SIM_PID"
    # A process ended by a signal leaves its sockets: ours are gone with their processes.
    for name in "${SOCKETS[@]}"; do rm -f "$DAB_BINDER_DIR/$name.sock"; done
    if [ "$FAILED" = 1 ]; then show_logs; fi
    if [ "$PRIVATE_DIR" = 1 ]; then
        rm -rf "$DAB_BINDER_DIR"
    else
        rm -f "$DAB_BINDER_DIR/run.lock"
        echo "run.sh: head unit stopped; logs in $LOG_DIR" >&2
    fi
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

# Stops at once when a started process has exited: its name, its exit status and the lines
# of its log that explain it (its warnings and errors, else its last lines).
check_started() {
    local name=$1 pid=$2 log=$3 status=0 why
    [ -n "$pid" ] || return 0
    kill -0 "$pid" 2>/dev/null && return 0
    wait "$pid" || status=$?
    [ "$name" = headunit_sim ] && SIM_PID= || SERVICE_PID=
    echo "run.sh: $name exited during start-up with status $status; its log ($log) says:" >&2
    why=$(grep -v -E '^[0-9-]+ [0-9:.]+ +[0-9]+ +[0-9]+ [VDI] ' "$log" 2>/dev/null | tail -n 20)
    [ -n "$why" ] || why=$(tail -n 10 "$log" 2>/dev/null)
    printf '%s\n' "$why" | sed 's/^/    /' >&2
    exit 1
}
check_processes() {
    check_started headunit_sim "$SIM_PID" "$LOG_DIR/headunit_sim.log"
    check_started dabplayer_service "$SERVICE_PID" "$LOG_DIR/dabplayer_service.log"
}

fail() {
    check_processes
    echo "run.sh: $*" >&2
    FAILED=1
    exit 1
}

# Waits until the command succeeds, up to $1 tenths of a second.
wait_for() {
    local tenths=$1
    shift
    for _ in $(seq "$tenths"); do
        "$@" >/dev/null 2>&1 && return 0
        check_processes
        sleep 0.1
    done
    return 1
}

resumed() {
    "$DABCTL" --json hu power | grep -q '"state":"resumed"'
}

echo "run.sh: starting the head-unit simulator (runtime directory $DAB_BINDER_DIR)"
"$SIM_BIN" </dev/null >"$LOG_DIR/headunit_sim.out" 2>"$LOG_DIR/headunit_sim.log" &
SIM_PID=$!
wait_for 100 "$DABCTL" hu ping || fail "the head-unit simulator did not come up"

echo "run.sh: starting dabplayer_service with the simulated tuner"
if [ -n "$RECORD" ]; then
    echo "run.sh: recording the session in $RECORD"
    DAB_RECORD=$RECORD "$SERVICE_BIN" </dev/null >/dev/null 2>"$LOG_DIR/dabplayer_service.log" &
else
    "$SERVICE_BIN" </dev/null >/dev/null 2>"$LOG_DIR/dabplayer_service.log" &
fi
SERVICE_PID=$!
wait_for 100 resumed || fail "the system control manager did not resume the service"
echo "run.sh: service resumed; activating the DAB source"
"$DABCTL" hu activate dab >/dev/null || fail "the DAB source was not activated"
"$DABCTL" wait-active 10 >/dev/null || fail "the DAB source did not become active"

if [ "$DEMO" = 1 ]; then
    set +e
    "$DESK" --demo
    status=$?
    set -e
    [ "$status" = 0 ] || FAILED=1
    exit "$status"
fi

if [ "$WEB" = 1 ]; then
    # dabweb prints the address it serves; it ends with this script.
    set +e
    "$WEB_BIN" --port "$WEB_PORT" </dev/null 2>"$LOG_DIR/dabweb.log" &
    WEB_PID=$!
    echo "run.sh: open http://127.0.0.1:$WEB_PORT/ in a browser; Ctrl-C stops everything"
    wait "$WEB_PID"
    status=$?
    set -e
    exit "$status"
fi

echo "run.sh: the radio is on; in another shell try: $DABCTL status"
set +e
"$DESK"
status=$?
set -e
exit "$status"
