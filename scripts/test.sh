#!/usr/bin/env bash
# Builds everything and runs the whole test suite: the one command CI runs.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/bootstrap.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZO_BUILD_TESTS=ON
cmake --build build -j "$(nproc)"
ctest --test-dir build --output-on-failure -j "$(nproc)"
