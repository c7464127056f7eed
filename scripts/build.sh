#!/usr/bin/env bash
# Installs what is missing, then configures and builds into ./build (ccache, Ninja).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" ${CMAKE_ARGS:-} >/dev/null
cmake --build build
