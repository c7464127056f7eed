#!/usr/bin/env bash
# Installs what is missing, builds, and runs the program. With a display ($DISPLAY or
# $WAYLAND_DISPLAY) that is the editor, tamrix-editor, on a sample photo (or FILE);
# without one, the `halvane` command-line tool renders an edit of the photo to a JPEG.
#
#   scripts/run.sh [FILE] [OUTPUT.jpg]
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh
input="${1:-../shared/media/photo/classic-car.heic}"
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  exec ./build/bin/tamrix-editor "$input"
fi
output="${2:-${TMPDIR:-/tmp}/halvane-demo.jpg}"
./build/bin/halvane render -y "$input" "$output" \
  --set exposure=0.3 --set contrast=1.15 --set saturation=1.2 --set rotationAngle=3
echo "no display: rendered an edit of $input to $output"
