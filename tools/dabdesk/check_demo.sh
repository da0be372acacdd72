#!/usr/bin/env bash
# Runs the run command in its terminal-less demo mode against a build tree, and checks that
# the tour passed and that no process or socket of it is left behind.
#   check_demo.sh RUN_SCRIPT BUILD_DIR
set -u
run=$1
build=$2
out=$(mktemp)
"$run" --demo --no-build --build-dir "$build" </dev/null >"$out" 2>&1
status=$?
cat "$out"
dir=$(sed -n 's/^run.sh: starting the head-unit simulator (runtime directory \(.*\))$/\1/p' "$out")
passed=$(grep -c '^demo: all [0-9]* steps passed$' "$out")
rm -f "$out"

fail() {
    echo "check_demo: $*"
    exit 1
}
[ "$status" = 0 ] || fail "run.sh --demo exited with status $status"
[ "$passed" = 1 ] || fail "the tour did not report that every step passed"
[ -n "$dir" ] || fail "run.sh did not say which runtime directory it used"
[ ! -e "$dir" ] || fail "runtime directory $dir left behind: $(ls -A "$dir")"
for p in /proc/[0-9]*; do
    if tr '\0' '\n' <"$p/environ" 2>/dev/null | grep -qxF "DAB_BINDER_DIR=$dir"; then
        fail "process ${p#/proc/} ($(tr '\0' ' ' <"$p/cmdline")) left behind"
    fi
done
echo "check_demo: passed; nothing left behind"
