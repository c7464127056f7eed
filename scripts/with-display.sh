#!/usr/bin/env bash
# Runs one command under a private X server (Xvfb) with a private D-Bus session bus and
# the AT-SPI accessibility registry, so that Qt programs show real windows that tests can
# find by accessible name and press. Everything it starts ends with it: the command is
# bounded by --timeout, and the server, the buses and whatever the command left behind
# are stopped by process group when it returns.
#
#   scripts/with-display.sh [--scale S] [--screen WxH] [--timeout SECONDS] [--] COMMAND...
#
#   --scale S       device pixel ratio of Qt programs (QT_SCALE_FACTOR), default 1
#   --screen WxH    size of the virtual screen in device pixels, default 1280x1024
#   --timeout S     the command is stopped after S seconds (exit status 124), default 120
#
# The exit status is the command's; 77 (a skipped test for CTest) when Xvfb or D-Bus is
# missing. The command sees DISPLAY, DBUS_SESSION_BUS_ADDRESS
# and QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1; HALVANE_DISPLAY_PYTHON names the Debian Python
# that has the gi bindings of AT-SPI (a Python of one's own usually lacks them).
set -euo pipefail

scale=1
screen=1280x1024
limit=120
while [ $# -gt 0 ]; do
  case "$1" in
    --scale) scale="$2"; shift 2 ;;
    --screen) screen="$2"; shift 2 ;;
    --timeout) limit="$2"; shift 2 ;;
    --) shift; break ;;
    -*) echo "with-display.sh: unknown option $1" >&2; exit 2 ;;
    *) break ;;
  esac
done
if [ $# -eq 0 ]; then
  echo "usage: with-display.sh [--scale S] [--screen WxH] [--timeout SECONDS] [--] COMMAND..." >&2
  exit 2
fi
[[ "$screen" =~ ^[0-9]+x[0-9]+$ ]] || { echo "with-display.sh: --screen wants WxH, got $screen" >&2; exit 2; }
[[ "$limit" =~ ^[0-9]+$ ]] || { echo "with-display.sh: --timeout wants whole seconds, got $limit" >&2; exit 2; }
for tool in Xvfb dbus-run-session timeout setsid; do
  command -v "$tool" >/dev/null || { echo "with-display.sh: $tool is missing; run scripts/install-deps.sh" >&2; exit 77; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/halvane-display.XXXXXX")
xvfb_pid=
session_pid=

# Each child runs in its own session (setsid), so one signal to its process group reaches
# everything it started, D-Bus activated services included, and nothing else.
stop_group() {
  local pid=$1
  [ -n "$pid" ] || return 0
  kill -TERM -- "-$pid" 2>/dev/null || return 0
  for _ in $(seq 20); do
    kill -0 -- "-$pid" 2>/dev/null || return 0
    sleep 0.1
  done
  kill -KILL -- "-$pid" 2>/dev/null || true
}
cleanup() {
  stop_group "$session_pid"
  stop_group "$xvfb_pid"
  [ -n "$xvfb_pid" ] && wait "$xvfb_pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Xvfb chooses a free display itself and writes its number to the pipe when it is ready.
mkfifo "$work/displayfd"
setsid Xvfb -displayfd 3 -screen 0 "${screen}x24" -nolisten tcp -noreset \
  3>"$work/displayfd" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
display=
if ! read -r -t 20 display <"$work/displayfd" || [ -z "$display" ]; then
  echo "with-display.sh: Xvfb did not start" >&2
  cat "$work/xvfb.log" >&2
  exit 2
fi

export DISPLAY=":$display"
export QT_QPA_PLATFORM=xcb
export QT_SCALE_FACTOR="$scale"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
export QT_ACCESSIBILITY=1
export HALVANE_DISPLAY_PYTHON=/usr/bin/python3
# The buses keep their sockets in a runtime folder of this run alone.
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
unset QT_AUTO_SCREEN_SCALE_FACTOR QT_SCREEN_SCALE_FACTORS QT_ENABLE_HIGHDPI_SCALING DBUS_SESSION_BUS_ADDRESS

# The accessibility bus is started on demand by the session bus (org.a11y.Bus); its
# registry likewise. Both live in the command's process group and end with it.
setsid timeout --kill-after=5 "$limit" dbus-run-session -- "$@" &
session_pid=$!
status=0
wait "$session_pid" || status=$?
if [ "$status" -eq 124 ] || [ "$status" -eq 137 ]; then
  echo "with-display.sh: the command ran past ${limit}s and was stopped" >&2
fi
exit "$status"
