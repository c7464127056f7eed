#!/usr/bin/env bash
# The whole `halvane render` of a 12-megapixel photo (decode, upload, crop 80 %, 7.5°
# tilt, a colour edit, read-back, JPEG at quality 0.95) beside libvips doing a crop,
# rotate (similarity), sharpen and JPEG write at quality 95 of the same photo. The two
# run interleaved, round after round, so both see the same load; medians of N rounds of
# wall time and of CPU time (user + system, all threads).
# Usage: bench/render/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
cd "$(dirname "$0")/../.."
build="${1:-build}"
rounds="${2:-5}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# A 4032 x 3024 JPEG made from the phone photo, so both tools read the same file.
vips copy ../shared/media/photo/classic-car.heic "$work/src.v"
vips rot "$work/src.v" "$work/landscape.v" d90
vips jpegsave "$work/landscape.v" "$work/photo.jpg" --Q 92
export HALVANE_BUNDLE_PATH="$PWD/$build/bin/Halvane_Halvane.bundle"

halvane_run() {
  "$build/bin/halvane" render -y "$work/photo.jpg" "$work/out-halvane.jpg" --preset maxQuality \
    --set 'cropRect=[[0.1,0.1],[0.8,0.8]]' --set rotationAngle=7.5 \
    --set exposure=0.3 --set contrast=1.2 --set saturation=1.3
}
vips_run() {
  vips crop "$work/photo.jpg" "$work/c.v" 403 302 3226 2419 &&
    vips similarity "$work/c.v" "$work/r.v" --angle 7.5 &&
    vips sharpen "$work/r.v" "$work/out-vips.jpg[Q=95]"
}

median() { sort -n | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }
# Appends "wall cpu" of one run of the tool to $work/<tool>.
measure() {
  /usr/bin/time -f '%e %U %S' -o "$work/time" bash -c "$(declare -f "$1_run"); build=$build work=$work $1_run" \
    >/dev/null 2>&1 || { echo "$1 failed" >&2; exit 1; }
  awk '{printf "%.3f %.3f\n", $1, $2 + $3}' "$work/time" >>"$work/$1"
}

for tool in halvane vips; do "${tool}_run" >/dev/null 2>&1; done  # warm file and shader caches
echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
for _ in $(seq "$rounds"); do
  for tool in halvane vips; do measure "$tool"; done
done
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
printf '| tool | wall, median of %s (s) | CPU, median (s) |\n|---|---|---|\n' "$rounds"
wall=() cpu=()
for tool in halvane vips; do
  wall+=("$(cut -d' ' -f1 "$work/$tool" | median)")
  cpu+=("$(cut -d' ' -f2 "$work/$tool" | median)")
  printf '| %s | %.2f | %.2f |\n' "$tool" "${wall[-1]}" "${cpu[-1]}"
done
printf 'vips / halvane: wall %.2f, CPU %.2f (above 1, ours is faster)\n' \
  "$(echo "${wall[1]} / ${wall[0]}" | bc -l)" "$(echo "${cpu[1]} / ${cpu[0]}" | bc -l)"
