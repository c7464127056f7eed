#!/usr/bin/env bash
# The dispatch overhead of Platform/Gpu against raw Vulkan doing the same work, both in
# the one program, on the CPU device unless HALVANE_GPU_DEVICE says otherwise.
# Usage: bench/gpu/run.sh [build folder, default build]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
HALVANE_GPU_DEVICE=${HALVANE_GPU_DEVICE:-cpu} "$build"/bin/GpuDispatchBench --benchmark_min_time=0.2
