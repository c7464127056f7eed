#!/usr/bin/env bash
# Image codecs: the in-process bench (CodecsBench), then JPEG decode and encode of the
# same 12-megapixel photo (3024 x 4032) by our codecs (CodecsCli), libvips and
# ImageMagick, one process per operation for all three, timed alike in the same run.
# Prints the median of each in milliseconds and each peer's median over ours
# (above 1: ours is faster). Encodes are at quality 85 (4:2:0 for all three) from raw
# pixels: BGRA for CodecsCli and ImageMagick, a vips file for vips.
# Usage: bench/codecs/run.sh [build folder, default build] [runs, default 9]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
runs=${2:-9}

cmake --build "$build" --target CodecsBench CodecsCli >/dev/null
echo "== in process, median of $runs =="
"$build"/bin/CodecsBench --benchmark_repetitions="$runs" --benchmark_report_aggregates_only=true \
  --benchmark_counters_tabular=true 2>/dev/null | grep -E '^(Benchmark|-|BM_.*_median)'

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
read -r width height < <("$build"/bin/CodecsCli prepare "$work/in.jpg" "$work/in.bgra")

# The real ImageMagick binary, not a wrapper that would add its own start-up time.
magick=""
for candidate in magick convert-im6.q16 convert; do
  if command -v "$candidate" >/dev/null && "$candidate" -version 2>/dev/null | grep -q ImageMagick; then
    magick=$(command -v "$candidate")
    break
  fi
done
have_vips=$(command -v vips >/dev/null && echo yes || echo no)
[ "$have_vips" = yes ] && vips copy "$work/in.jpg" "$work/in.v"

# measure COMMAND...: one warm-up run, then $runs timed runs; prints the median wall
# time and the median CPU time (user + system, all threads) in milliseconds. A command
# that fails stops the script, with its own message.
measure() {
  "$@" >/dev/null || { echo "failed: $*" >&2; exit 1; }
  local walls=() cpus=() line
  for ((i = 0; i < runs; i++)); do
    line=$( { TIMEFORMAT='%R %U %S'; time "$@" >/dev/null 2>&1; } 2>&1 )
    walls+=("$(awk '{ print $1 * 1000 }' <<<"$line")")
    cpus+=("$(awk '{ print ($2 + $3) * 1000 }' <<<"$line")")
  done
  echo "$(median "${walls[@]}") $(median "${cpus[@]}")"
}
median() {
  printf '%s\n' "$@" | sort -g | awk '{ t[NR] = $1 } END { printf "%.0f", (NR % 2) ? t[(NR + 1) / 2] : (t[NR / 2] + t[NR / 2 + 1]) / 2 }'
}
ratio() { [ "$1" = "-" ] && { echo "-"; return; }; awk -v peer="$1" -v ours="$2" 'BEGIN { printf "%.2f", peer / ours }'; }

declare -A wall cpu
record() {  # record KEY COMMAND...
  local key=$1
  shift
  read -r "wall[$key]" "cpu[$key]" < <(measure "$@")
}

record ours.decode "$build"/bin/CodecsCli decode "$work/in.jpg"
record ours.encode "$build"/bin/CodecsCli encode "$work/in.bgra" "$width" "$height" 0.85 "$work/ours.jpg"
record ours.start "$build"/bin/CodecsCli help
if [ "$have_vips" = yes ]; then
  record vips.decode vips avg "$work/in.jpg"
  record vips.encode vips jpegsave "$work/in.v" "$work/vips.jpg" --Q 85
  record vips.start vips --version
  export VIPS_CONCURRENCY=1
  record vips1.decode vips avg "$work/in.jpg"
  record vips1.encode vips jpegsave "$work/in.v" "$work/vips.jpg" --Q 85
  unset VIPS_CONCURRENCY
fi
if [ -n "$magick" ]; then
  record im.decode "$magick" "$work/in.jpg" null:
  record im.encode "$magick" -size "${width}x${height}" -depth 8 "bgra:$work/in.bgra" -quality 85 "$work/im.jpg"
  record im.start "$magick" -version
fi

table() {  # table NAME ARRAY
  local -n t=$2
  echo
  echo "$1, ${width} x ${height}, median of $runs, $(nproc) cores, load average $(cut -d' ' -f1 /proc/loadavg):"
  echo "| operation | ours (ms) | vips (ms) | vips, 1 thread (ms) | ImageMagick (ms) | vips / ours | ImageMagick / ours |"
  echo "|---|---|---|---|---|---|---|"
  for op in decode encode start; do
    local name
    case $op in
      decode) name="JPEG decode" ;;
      encode) name="JPEG encode, quality 85" ;;
      start) name="process start only" ;;
    esac
    local v=${t[vips.$op]:--} v1=${t[vips1.$op]:--} m=${t[im.$op]:--}
    echo "| $name | ${t[ours.$op]} | $v | $v1 | $m | $(ratio "$v" "${t[ours.$op]}") | $(ratio "$m" "${t[ours.$op]}") |"
  done
}
echo
echo "== one process per operation =="
table "Wall clock" wall
table "CPU time (user + system, all threads)" cpu

echo
echo "sizes at quality 85: ours $(stat -c %s "$work/ours.jpg") B" \
  "$([ -f "$work/vips.jpg" ] && echo ", vips $(stat -c %s "$work/vips.jpg") B")" \
  "$([ -f "$work/im.jpg" ] && echo ", ImageMagick $(stat -c %s "$work/im.jpg") B")"
echo "vips: $([ "$have_vips" = yes ] && vips --version || echo missing); ImageMagick: ${magick:-missing}"
