#!/usr/bin/env bash
# Takes the screenshots of the component gallery and of each view of the editor chrome
# on a private X server, at device pixel ratios 1 and 2, into docs/gallery/ as
# NAME@1x.png and NAME@2x.png (NAME-LANGUAGE@... with --locale). Builds halvane-gallery
# first.
#
#   scripts/screenshots.sh [--locale LANGUAGE]
set -euo pipefail
cd "$(dirname "$0")/.."

locale_args=()
suffix=
if [ "${1:-}" = --locale ] && [ -n "${2:-}" ]; then
  locale_args=(--locale "$2")
  suffix="-$2"
elif [ $# -gt 0 ]; then
  echo "usage: scripts/screenshots.sh [--locale LANGUAGE]" >&2
  exit 2
fi

./scripts/install-deps.sh
build=${BUILD_DIR:-build}
[ -f "$build/build.ninja" ] || cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
nice -n 10 cmake --build "$build" --target halvane-gallery >/dev/null

out=docs/gallery
shots=$(mktemp -d "${TMPDIR:-/tmp}/halvane-shots.XXXXXX")
trap 'rm -rf "$shots"' EXIT
mkdir -p "$out"
for scale in 1 2; do
  scripts/with-display.sh --scale "$scale" --timeout 60 -- \
    "$build/bin/halvane-gallery" "${locale_args[@]}" --screenshots "$shots/$scale" 2>/dev/null
  for shot in "$shots/$scale"/*.png; do
    name=$(basename "$shot" .png)
    cp "$shot" "$out/$name$suffix@${scale}x.png"
  done
done
ls -1 "$out"
