#!/bin/sh
# wine.sh PREFIX PROGRAM [ARGUMENT...] - runs a Windows program through Wine.
#
# PREFIX is a folder that is made and set up on first use and is Wine's whole world; the user's own Wine is
# left alone. One program at a time runs in a prefix, on the display KTMP4_WINE_DISPLAY, or on one of its own when
# Xvfb is there. The program has KTMP4_WINE_SECONDS (600; 0 for ever) to end; nothing that it started outlives this
# script.
set -eu

if [ $# -lt 2 ]; then
  echo "usage: $0 PREFIX PROGRAM [ARGUMENT...]" >&2
  exit 2
fi
prefix=$1
shift

wine=
for candidate in wine64 /usr/lib/wine/wine64 wine; do
  if command -v "$candidate" >/dev/null 2>&1; then wine=$candidate; break; fi
done
if [ -z "$wine" ]; then echo "$0: no Wine here (Debian: wine64)" >&2; exit 2; fi

mkdir -p "$prefix"
prefix=$(cd "$prefix" && pwd)
exec 9>"$prefix.lock"
flock -w 1800 9 || { echo "$0: $prefix is in use" >&2; exit 2; }

# No debugger: a program that crashes ends at once. The language decides on the code page.
export LC_ALL=C.UTF-8
export WINEPREFIX="$prefix" WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe="
unset DISPLAY WINEARCH

display_pid= program_pid=
display_file="$prefix.display"
finish() {
  if [ -n "$program_pid" ]; then kill "$program_pid" 2>/dev/null || true; fi
  timeout -k 5 30 wineserver -k 9>&- >/dev/null 2>&1 || true
  timeout -k 5 30 wineserver -w 9>&- >/dev/null 2>&1 || true
  if [ -n "$display_pid" ]; then
    kill "$display_pid" 2>/dev/null || true
    wait "$display_pid" 2>/dev/null || true
  fi
  rm -f "$display_file"
}
trap finish EXIT
trap 'exit 130' INT TERM HUP

if [ -n "${KTMP4_WINE_DISPLAY:-}" ]; then
  export DISPLAY="$KTMP4_WINE_DISPLAY"
elif command -v Xvfb >/dev/null 2>&1; then
  : >"$display_file"
  Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$display_file" 9>&- >/dev/null 2>&1 &
  display_pid=$!
  tries=0
  while [ ! -s "$display_file" ] && [ $tries -lt 100 ] && kill -0 "$display_pid" 2>/dev/null; do
    sleep 0.1
    tries=$((tries + 1))
  done
  if [ -s "$display_file" ]; then DISPLAY=":$(cat "$display_file")"; export DISPLAY; fi
fi

if [ ! -e "$prefix/ready" ]; then
  timeout -k 10 300 "$wine" wineboot -i 9>&- >"$prefix.setup.log" 2>&1 ||
    { echo "$0: setting up $prefix failed, see $prefix.setup.log" >&2; exit 2; }
  timeout -k 5 60 wineserver -w 9>&- || true
  : >"$prefix/ready"
fi

status=0
# Beside this script, which would not hear of a signal before the program ends otherwise.
timeout -k 10 "${KTMP4_WINE_SECONDS:-600}" "$wine" "$@" <&0 9>&- &
program_pid=$!
wait $program_pid || status=$?
program_pid=
if [ $status -eq 124 ]; then echo "$0: $1 did not end in time" >&2; fi
exit $status
