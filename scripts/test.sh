#!/usr/bin/env bash
# Builds and runs the whole test suite twice: a normal build and an AddressSanitizer +
# UndefinedBehaviorSanitizer build. Incremental: build trees stay under build/.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

JOBS=$(nproc 2>/dev/null || echo 2)

cmake -S . -B build/debug -G Ninja -DCMAKE_BUILD_TYPE=Debug
cmake --build build/debug -j "$JOBS"
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DDAB_SANITIZE=ON
cmake --build build/asan -j "$JOBS"

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

status=0
echo "== Tests (normal build)"
ctest --test-dir build/debug --output-on-failure -j "$JOBS" || status=1
echo "== Tests (AddressSanitizer + UndefinedBehaviorSanitizer build)"
ctest --test-dir build/asan --output-on-failure -j "$JOBS" || status=1
exit $status
