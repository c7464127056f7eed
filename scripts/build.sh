#!/usr/bin/env bash
# Installs what is missing, then configures and builds into ./build (or $BUILD_DIR)
# with ccache and Ninja.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
build="${BUILD_DIR:-build}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" ${CMAKE_ARGS:-} >/dev/null
cmake --build "$build"
