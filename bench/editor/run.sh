#!/usr/bin/env bash
# The editor in its real window under Xvfb (EditorBench), beside libvips and ImageMagick
# doing the same picture work on the same photo in the same run:
# - a state change to its frame on the screen (exposure and contrast; then with a radial
#   focus) beside a peer that applies a linear exposure and contrast to the decoded
#   12-megapixel photo and scales it to the preview's size, as our preview does;
# - the start of the editor to its first frame, cold and warm caches, beside the peers
#   decoding the JPEG and scaling it to the preview's size (vipsthumbnail shrinks while
#   decoding; ImageMagick decodes whole).
# The photo is sewing-threads.heic saved as a 4000 x 3000 JPEG, so every tool reads the
# same file. Medians of COUNT runs; the peers' CPU time is user + system of the process.
# Usage: bench/editor/run.sh [BUILD_DIR] [COUNT]
set -euo pipefail
cd "$(dirname "$0")/../.."
build="${1:-build}"
count="${2:-5}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

export HALVANE_GPU_DEVICE="${HALVANE_GPU_DEVICE:-cpu}"
export HALVANE_BUNDLE_PATH="$PWD/$build/bin/Halvane_Halvane.bundle"
vips copy ../shared/media/photo/sewing-threads.heic "$work/src.v"
vips jpegsave "$work/src.v" "$work/photo.jpg" --Q 92
convert-im6.q16 "$work/photo.jpg" "$work/src.mpc"
preview=430x680  # the preview of the 430 x 860 window at scale 1 (EditorBench prints it)

echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs)"
echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
editor() { scripts/with-display.sh --timeout 1800 -- "$build/bin/EditorBench" "$@" 2> >(grep -v dbus-daemon >&2); }
editor changes "$work/photo.jpg" "$count"
editor starts "$work/photo.jpg" "$count"
echo "load average after the editor: $(cut -d' ' -f1-3 /proc/loadavg)"

# The peers' jobs; each leaves a picture of the preview's size.
vips_change() {
  # The leading space keeps vips from reading the negative offsets as options.
  vips linear "$work/src.v" "$work/lin.v" "1.3 1.3 1.3" " -12 -12 -12" --uchar &&
    vips thumbnail_image "$work/lin.v" "$work/out-vips.png" 430 --height 680
}
magick_change() { convert-im6.q16 "$work/src.mpc" -brightness-contrast 10x15 -resize "$preview" "$work/out-im.png"; }
vips_start() { vipsthumbnail "$work/photo.jpg" -s "$preview" -o "$work/out-vips.png"; }
magick_start() { convert-im6.q16 "$work/photo.jpg" -resize "$preview" "$work/out-im.png"; }

median() { sort -n | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }
# Prints "job wall_ms cpu_ms", medians of COUNT runs after one untimed run.
measure() {
  local job=$1
  "$job" >/dev/null 2>&1 || { echo "$job failed" >&2; exit 1; }
  : >"$work/times"
  for _ in $(seq "$count"); do
    /usr/bin/time -f '%e %U %S' -o "$work/time" bash -c "$(declare -f "$job"); work=$work preview=$preview $job" \
      >/dev/null 2>&1 || { echo "$job failed" >&2; exit 1; }
    awk '{printf "%.0f %.0f\n", $1 * 1000, ($2 + $3) * 1000}' "$work/time" >>"$work/times"
  done
  printf '%s %s %s\n' "$job" "$(cut -d' ' -f1 "$work/times" | median)" "$(cut -d' ' -f2 "$work/times" | median)"
}
echo "peers (medians of $count; job, wall ms, CPU ms):"
for job in vips_change magick_change vips_start magick_start; do measure "$job"; done
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
