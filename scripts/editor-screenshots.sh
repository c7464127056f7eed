#!/usr/bin/env bash
# Takes the screenshots of the editor on a private X server: idle on a photo, idle on a
# video, with a tool open, and with the adjust tool's Warmth ruler dragged, into docs/ as
# editor-photo.png, editor-video.png, editor-tool.png and editor-adjust.png. Builds
# tamrix-editor first. Each shot waits until the picture shows.
#
#   scripts/editor-screenshots.sh [--scale S]
set -euo pipefail
cd "$(dirname "$0")/.."

scale=1
if [ "${1:-}" = --scale ] && [ -n "${2:-}" ]; then
  scale=$2
elif [ $# -gt 0 ]; then
  echo "usage: scripts/editor-screenshots.sh [--scale S]" >&2
  exit 2
fi

./scripts/install-deps.sh
build=${BUILD_DIR:-build}
[ -f "$build/build.ninja" ] || cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
nice -n 10 cmake --build "$build" --target tamrix-editor >/dev/null

media=../shared/media
suffix=""
[ "$scale" = 1 ] || suffix="@${scale}x"
shot() {
  local name=$1
  shift
  scripts/with-display.sh --scale "$scale" --screen 1200x2000 --timeout 120 -- \
    "$build/bin/tamrix-editor" --locale en --screenshot "docs/editor-$name$suffix.png" "$@" 2>/dev/null
  echo "docs/editor-$name$suffix.png"
}
shot photo "$media/photo/classic-car.heic"
shot video "$media/video/train.mov"
shot tool --tool filter "$media/photo/flower.webp"
scripts/with-display.sh --scale "$scale" --screen 1200x2000 --timeout 120 -- \
  /usr/bin/python3 tests/e2e/editor_adjust_shot.py "$build/bin/tamrix-editor" "$media/photo/flower.webp" \
  "docs/editor-adjust$suffix.png" 2>/dev/null
echo "docs/editor-adjust$suffix.png"
