#!/usr/bin/env bash
# The whole check, incremental (build trees stay under build/):
#   - the test suite in three builds: normal, AddressSanitizer + UndefinedBehaviorSanitizer,
#     ThreadSanitizer;
#   - a clang build of the whole project with the lock annotations checked
#     (-Wthread-safety -Werror=thread-safety);
#   - every fuzz target (libFuzzer + ASan + UBSan) for FUZZ_SECONDS each (default 20).
# Exits non-zero when anything fails; ends with a summary line per step.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

JOBS=$(nproc 2>/dev/null || echo 2)
FUZZ_SECONDS=${FUZZ_SECONDS:-20}
LAUNCHER=()
command -v ccache >/dev/null && LAUNCHER=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

summary=()
status=0
# step NAME COMMAND...: runs it, records PASS/FAIL with the time taken.
step() {
    local name=$1 start=$SECONDS
    shift
    echo "== $name"
    if "$@"; then
        summary+=("PASS  $name ($((SECONDS - start)) s)")
    else
        summary+=("FAIL  $name ($((SECONDS - start)) s)")
        status=1
    fi
}

configure() {  # DIR [cmake options...]
    local dir=$1
    shift
    cmake -S . -B "$dir" -G Ninja "${LAUNCHER[@]}" "$@" >/dev/null
}
build() {  # DIR [targets...]
    local dir=$1
    shift
    local targets=()
    [ $# -gt 0 ] && targets=(--target "$@")
    cmake --build "$dir" -j "$JOBS" "${targets[@]}"
}

step "build normal" eval 'configure build/debug -DCMAKE_BUILD_TYPE=Debug && build build/debug'
step "build ASan+UBSan" eval 'configure build/asan -DCMAKE_BUILD_TYPE=Debug -DDAB_SANITIZE=ON && build build/asan'
step "build TSan" eval 'configure build/tsan -DCMAKE_BUILD_TYPE=Debug -DDAB_TSAN=ON && build build/tsan'
step "build clang thread-safety analysis" eval 'CXX=clang++ configure build/tsa -DCMAKE_BUILD_TYPE= -DDAB_THREAD_SAFETY=ON && build build/tsa'
step "build fuzz targets" eval 'CXX=clang++ configure build/fuzz -DCMAKE_BUILD_TYPE=Debug -DDAB_FUZZ=ON && build build/fuzz fuzz_all'

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# Only libutils' reference counting is suppressed: Debian's library is not instrumented.
export TSAN_OPTIONS="suppressions=$PWD/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1"

step "tests normal" ctest --test-dir build/debug --output-on-failure -j "$JOBS"
step "tests ASan+UBSan" ctest --test-dir build/asan --output-on-failure -j "$JOBS"
step "tests TSan" ctest --test-dir build/tsan --output-on-failure -j "$JOBS"

# Each fuzz target: its seeds from the repository, new inputs kept under build/fuzz/corpus.
# A crash, leak, time-out or UB report ends the run with an artifact under build/fuzz/crashes.
fuzz() {  # TARGET
    local name=$1 corpus=build/fuzz/corpus/${1#fuzz_} log=build/fuzz/$1.log
    mkdir -p "$corpus" build/fuzz/crashes
    # libFuzzer checks each input for leaks itself; the exit-time check would only see its own.
    if ASAN_OPTIONS=$ASAN_OPTIONS:leak_check_at_exit=0 \
            build/fuzz/tests/fuzz/"$name" -max_total_time="$FUZZ_SECONDS" -timeout=10 \
            -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix=build/fuzz/crashes/"$name"- \
            "$corpus" tests/fuzz/corpus/"${name#fuzz_}" >"$log" 2>&1; then
        echo "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") executions"
    else
        tail -n 40 "$log"
        return 1
    fi
}
for target in $(sed -n 's/^dab_fuzz_target(\([a-z_]*\) .*/\1/p' tests/fuzz/CMakeLists.txt); do
    step "$target" fuzz "$target"
done

echo "== Summary"
printf '%s\n' "${summary[@]}"
exit $status
