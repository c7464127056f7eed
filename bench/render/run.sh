#!/usr/bin/env bash
# The whole `halvane render` of a 12-megapixel photo (decode, upload, orientation,
# crop + quarter turn + tilt, read-back, JPEG at quality 0.95) beside libvips and
# ImageMagick doing a crop, rotate and JPEG write of the same photo. Medians of N runs.
# Usage: bench/render/run.sh [BUILD_DIR] [RUNS]
set -euo pipefail
cd "$(dirname "$0")/../.."
build="${1:-build}"
runs="${2:-5}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# A 4032 x 3024 JPEG made from the phone photo, upright, so every tool reads the same file.
vips copy ../shared/media/photo/classic-car.heic "$work/src.v"
vips rot "$work/src.v" "$work/landscape.v" d90
vips jpegsave "$work/landscape.v" "$work/photo.jpg" --Q 92
# Debian's ImageMagick 6, not whatever else is called convert on the PATH.
magick=/usr/bin/convert-im6.q16
export HALVANE_BUNDLE_PATH="$PWD/$build/bin/Halvane_Halvane.bundle"

median() { sort -n | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }
timeit() {  # prints seconds of one run of "$@"
  local start end
  start=$(date +%s.%N); "$@" >/dev/null 2>&1; end=$(date +%s.%N)
  echo "$end - $start" | bc -l
}

# Crop 80% centred, a quarter turn, a 7.5 degree tilt.
halvane_run() {
  "$build/bin/halvane" render "$work/photo.jpg" "$work/out-halvane.jpg" --preset maxQuality \
    --set 'cropRect=[[0.1,0.1],[0.8,0.8]]' --set rotationQuarterTurns=1 --set rotationAngle=7.5
}
vips_run() {
  vips crop "$work/photo.jpg" "$work/c.v" 403 302 3226 2419 &&
    vips rot "$work/c.v" "$work/r.v" d90 &&
    vips similarity "$work/r.v" "$work/out-vips.jpg[Q=95]" --angle 7.5
}
magick_run() {
  "$magick" "$work/photo.jpg" -crop 3226x2419+403+302 +repage -rotate 97.5 -quality 95 "$work/out-magick.jpg"
}

declare -A results
for tool in halvane vips magick; do
  "${tool}_run" >/dev/null 2>&1 || { echo "$tool failed" >&2; exit 1; }  # warm caches
  times=()
  for _ in $(seq "$runs"); do times+=("$(timeit "${tool}_run")"); done
  results[$tool]=$(printf '%s\n' "${times[@]}" | median)
done
printf '| tool | median of %s runs (s) | ratio to halvane |\n|---|---|---|\n' "$runs"
for tool in halvane vips magick; do
  printf '| %s | %.2f | %.2f |\n' "$tool" "${results[$tool]}" "$(echo "${results[$tool]} / ${results[halvane]}" | bc -l)"
done
