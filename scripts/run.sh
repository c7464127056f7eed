#!/usr/bin/env bash
# Installs what is missing, builds, and runs the program. Until the desktop
# application lands, the program is the `halvane` command-line tool rendering an edit
# of a sample photo.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh
input="${1:-../shared/media/photo/classic-car.heic}"
output="${2:-${TMPDIR:-/tmp}/halvane-demo.jpg}"
./build/bin/halvane render "$input" "$output" \
  --set exposure=0.3 --set contrast=1.15 --set saturation=1.2 --set rotationAngle=3
echo "wrote $output"
