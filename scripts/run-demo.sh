#!/usr/bin/env bash
# Builds everything, creates the demo customer's database when it is missing and starts the
# application server with the demo application.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/bootstrap.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target zo-demo-server
exec ./build/examples/demo/zo-demo-server --root ./run "$@"
