#!/usr/bin/env bash
# Builds the libFuzzer targets into ./build-fuzz (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for a while on a corpus seeded from the
# sample media. The corpus grows in build-fuzz/corpus/NAME between runs; an input that
# crashes, leaks, hangs or breaks an invariant is kept in build-fuzz/findings/NAME and
# fails the run. Findings that were fixed belong in tests/fuzz/regressions/NAME, which
# the test suite replays.
#
#   scripts/fuzz.sh [--seconds N] [NAME...]     (default: 600 seconds, every target)
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=600
targets=()
while [ $# -gt 0 ]; do
  case "$1" in
    --seconds) seconds="$2"; shift 2 ;;
    -h|--help) sed -n 2,9p "$0"; exit 0 ;;
    *) targets+=("$1"); shift ;;
  esac
done
all_targets=(jpeg png webp heif edit-coding asset-probe)
[ ${#targets[@]} -eq 0 ] && targets=("${all_targets[@]}")

./scripts/install-deps.sh
build=build-fuzz
if [ ! -f "$build/CMakeCache.txt" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DHALVANE_FUZZ=ON -DHALVANE_BUILD_TESTS=OFF -DHALVANE_BUILD_BENCH=OFF >/dev/null
fi
nice -n 10 cmake --build "$build" --target fuzz-targets >/dev/null

media=../shared/media
# seed NAME FILE...: copies the files that exist into NAME's corpus.
seed() {
  local name="$1"; shift
  mkdir -p "$build/corpus/$name"
  for file in "$@"; do
    [ -f "$file" ] && cp -n "$file" "$build/corpus/$name/"
  done
  return 0
}
# Small clips cut from the sample videos (their codecs, metadata and rotation, the
# index first), so that mutations reach past the container into the frames.
seed_clips() {
  mkdir -p "$build/corpus/asset-probe"
  for video in "$media"/video/*.mov "$media"/video/*.mp4 "$media"/livephoto/*.MOV; do
    [ -f "$video" ] || continue
    local clip="$build/corpus/asset-probe/clip-$(basename "$video")"
    [ -f "$clip" ] && continue
    ffmpeg -v quiet -y -i "$video" -t 0.3 -c copy -movflags +faststart "$clip" || rm -f "$clip"
  done
}
seed jpeg "$media"/photo/*.jpg "$media"/exif-orientation/*.jpg "$media"/broken/*.jpg
seed png "$media"/photo/*.png "$media"/broken/*.png
seed webp "$media"/photo/*.webp
seed heif "$media"/photo/*.heic "$media"/livephoto/*.HEIC
seed edit-coding fuzz/seeds/edit-coding/*
seed asset-probe "$media"/broken/*.mp4
seed_clips
for name in "${all_targets[@]}"; do
  [ -d "tests/fuzz/regressions/$name" ] && seed "$name" "tests/fuzz/regressions/$name"/*
done

max_len() {
  case "$1" in
    edit-coding) echo 4096 ;;
    jpeg|png|webp) echo 131072 ;;
    *) echo 262144 ;;
  esac
}

failed=0
mkdir -p "$build/logs"
for name in "${targets[@]}"; do
  mkdir -p "$build/findings/$name"
  log="$build/logs/$name.log"
  # Our largest allocation is a 512 MiB picture, and libjpeg's working memory for it
  # is bounded near 1 GiB; anything beyond is a finding.
  if nice -n 10 "$build/bin/fuzz-$name" "$build/corpus/$name" -max_total_time="$seconds" \
      -max_len="$(max_len "$name")" -timeout=30 -rss_limit_mb=3072 -malloc_limit_mb=1600 \
      -artifact_prefix="$build/findings/$name/" -print_final_stats=1 >"$log" 2>&1; then
    status=ok
  else
    status=FAILED
    failed=1
  fi
  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')
  corpus=$(find "$build/corpus/$name" -type f | wc -l)
  echo "fuzz-$name: $status, $runs executions in ${seconds}s, corpus $corpus inputs (log: $log)"
  [ "$status" = ok ] || tail -n 40 "$log"
done
exit "$failed"
