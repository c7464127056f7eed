#!/usr/bin/env bash
# Installs, builds and runs every test. GPU tests run on the CPU device (lavapipe).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh
cd build
ctest --output-on-failure -j"$(nproc)" --timeout 900
