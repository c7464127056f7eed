#!/usr/bin/env bash
# Installs, builds and runs every test. GPU tests run on the CPU device (lavapipe).
# A sanitizer build (CMAKE_ARGS=-DHALVANE_SANITIZE=ON or =thread) goes to a build
# folder of its own, build-asan or build-tsan, unless BUILD_DIR names one.
# Each fuzz target first runs for a short while (HALVANE_FUZZ_SECONDS each, 10 by
# default, 0 to skip) in its own build, build-fuzz: about a minute in all. The test
# suite runs last, so that its summary closes the output.
set -euo pipefail
cd "$(dirname "$0")/.."
case "${CMAKE_ARGS:-}" in
  *HALVANE_SANITIZE=OFF*) default_build=build ;;
  *HALVANE_SANITIZE=thread*) default_build=build-tsan ;;
  *HALVANE_SANITIZE=*) default_build=build-asan ;;
  *) default_build=build ;;
esac
export BUILD_DIR="${BUILD_DIR:-$default_build}"
./scripts/build.sh
fuzz_seconds="${HALVANE_FUZZ_SECONDS:-10}"
if [ "$fuzz_seconds" -gt 0 ]; then
  ./scripts/fuzz.sh --seconds "$fuzz_seconds"
fi
cd "$BUILD_DIR"
ctest --output-on-failure -j"$(nproc)" --timeout 900
