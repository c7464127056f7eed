#!/bin/sh
# Video export: `halvane export-video` beside ffmpeg on the same clip in the same run.
#
#   bench/video/run.sh [build folder] [speed seconds] [short seconds] [long seconds]
#
# A long length of 0 runs the speed part alone.
# 1. Speed: a 1080p clip (testsrc2 at 30 fps with a 440 Hz tone) exported with a colour
#    edit at `balanced` (HEVC at 10 Mbit/s, sound copied), and by ffmpeg with its `eq`
#    and `vignette` filters through libx265 at the same rate and preset. One run each;
#    frames per second from the wall clock, CPU time from /usr/bin/time.
# 2. Memory: peak resident size (/usr/bin/time -v) of exports of two lengths, with the
#    edit at 640x360 (the pool's path: every frame takes and returns intermediates) and
#    unedited at 1080p (large frame buffers, one blit a frame). Flat means the long
#    export peaks where the short one does.
#
# GPU work runs on the device that HALVANE_GPU_DEVICE picks (default: the best there is;
# lavapipe on a machine without a GPU).
set -eu

build=${1:-$(cd "$(dirname "$0")/../.." && pwd)/build}
speedSeconds=${2:-10}
shortSeconds=${3:-15}
longSeconds=${4:-60}
halvane="$build/bin/halvane"
work=$(mktemp -d "${TMPDIR:-/tmp}/halvane-video-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT

[ -x "$halvane" ] || { echo "no $halvane: build the halvane target first" >&2; exit 1; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is missing" >&2; exit 1; }

edit="--set exposure=0.3 --set contrast=1.2 --set saturation=1.3 --set vignetteIntensity=0.8"
ffmpegEdit="eq=brightness=0.06:contrast=1.2:saturation=1.3,vignette"

clip() {  # name size seconds
  ffmpeg -v error -y -f lavfi -i "testsrc2=s=$2:r=30:d=$3" -f lavfi -i "sine=frequency=440:sample_rate=48000:d=$3" \
    -c:v libx264 -preset ultrafast -crf 18 -pix_fmt yuv420p -c:a aac -b:a 128k -shortest "$work/$1.mov"
}

# Runs a command under /usr/bin/time -v; prints "wall user+system peak-kB".
measure() {
  /usr/bin/time -v "$@" >/dev/null 2>"$work/time.txt" || { cat "$work/time.txt" >&2; exit 1; }
  awk -F': ' '
    /Elapsed \(wall clock\)/ { n = split($2, t, ":"); wall = (n == 3) ? t[1] * 3600 + t[2] * 60 + t[3] : t[1] * 60 + t[2] }
    /User time/ { cpu += $2 }
    /System time/ { cpu += $2 }
    /Maximum resident/ { peak = $2 }
    END { printf "%.2f %.2f %d\n", wall, cpu, peak }' "$work/time.txt"
}

frames=$((speedSeconds * 30))
echo "clips..."
clip speed 1920x1080 "$speedSeconds"

echo "speed: $frames frames of 1920x1080 with a colour edit at balanced"
# Start-up (GPU device, kernels, encoder) measured on a one-frame export, to tell it
# from the per-frame cost.
set -- $(measure "$halvane" export-video "$work/speed.mov" "$work/first.mov" $edit --set trimEnd=0.02 --preset balanced)
startWall=$1
set -- $(measure "$halvane" export-video "$work/speed.mov" "$work/ours.mov" $edit --preset balanced)
oursWall=$1 oursCpu=$2
set -- $(measure ffmpeg -v error -y -i "$work/speed.mov" -vf "$ffmpegEdit" -c:v libx265 -preset fast -b:v 10M \
  -x265-params log-level=error:bframes=0 -c:a copy "$work/peer.mov")
peerWall=$1 peerCpu=$2
awk -v f="$frames" -v ow="$oursWall" -v oc="$oursCpu" -v pw="$peerWall" -v pc="$peerCpu" -v sw="$startWall" 'BEGIN {
  printf "| tool | wall (s) | CPU (s) | frames/s |\n|---|---|---|---|\n"
  printf "| halvane export-video | %.1f | %.1f | %.2f |\n", ow, oc, f / ow
  printf "| ffmpeg eq,vignette + libx265 | %.1f | %.1f | %.2f |\n", pw, pc, f / pw
  printf "halvane start-up (one-frame export): %.1f s; frames/s without it: %.2f\n", sw, f / (ow - sw)
  printf "ratio of frames/s, ours over ffmpeg: %.3f\n", pw / ow }'

# A long length of 0 skips the memory part.
[ "$longSeconds" -gt 0 ] || exit 0
echo "memory: peak resident size at ${shortSeconds} s and ${longSeconds} s"
printf "| export | %s s (kB) | %s s (kB) | long / short |\n|---|---|---|---|\n" "$shortSeconds" "$longSeconds"
for case in "edited 640x360" "unedited 1920x1080"; do
  set -- $case
  kind=$1 size=$2
  options=""
  [ "$kind" = edited ] && options=$edit
  peaks=""
  for seconds in "$shortSeconds" "$longSeconds"; do
    clip "mem-$seconds" "$size" "$seconds"
    rm -f "$work/mem-out.mov"
    set -- $(measure "$halvane" export-video "$work/mem-$seconds.mov" "$work/mem-out.mov" $options --preset balanced)
    peaks="$peaks $3"
  done
  set -- $peaks
  awk -v k="$kind $size" -v a="$1" -v b="$2" 'BEGIN { printf "| %s | %d | %d | %.3f |\n", k, a, b, b / a }'
done
