#!/usr/bin/env bash
# Builds everything and starts the DAB player service on this machine.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

JOBS=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDAB_BUILD_TESTS=OFF
cmake --build build/release -j "$JOBS"

exec build/release/dabplayer_service "$@"
