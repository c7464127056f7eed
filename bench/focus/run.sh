#!/usr/bin/env bash
# The focus bench, then the gaussian mode's job done by vips on the CPU at the same
# sigma: linear light (scRGB), the same 3-sigma truncation (minimum amplitude e^-4.5),
# back to sRGB, written to a vips file in memory-backed /tmp.
# Usage: bench/focus/run.sh [build folder, default build]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
media=../shared/media/photo/sewing-threads.heic

"$build"/bin/FocusBench --benchmark_counters_tabular=true

command -v vips >/dev/null || { echo "vips not installed: skipping the comparison"; exit 0; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
vips copy "$media" "$work/source.v"
echo "vips $(vips --version), $(nproc) threads, 4000 x 3000:"
for strength in 0.5 1; do
  sigma=$(awk -v s="$strength" 'BEGIN { print 0.012 * 3000 * s }')
  best=""
  for run in 1 2 3; do
    start=$(date +%s.%N)
    vips colourspace "$work/source.v" "$work/linear.v" scrgb
    vips gaussblur "$work/linear.v" "$work/blurred.v" "$sigma" --min-ampl 0.011 --precision float
    vips colourspace "$work/blurred.v" "$work/out.v" srgb
    end=$(date +%s.%N)
    t=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.0f", (b - a) * 1000 }')
    if [ -z "$best" ] || [ "$t" -lt "$best" ]; then best=$t; fi
  done
  echo "  vips gaussblur, strength $strength (sigma $sigma px), linear light: best of 3 ${best} ms"
done
