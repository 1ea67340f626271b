#!/usr/bin/env bash
# with_wine.sh [-x] COMMAND…: runs a command with a fresh Wine prefix, which is thrown away at the
# end together with its server. The prefix is a copy of one that is made once (about 12 s).
#   -x   windows are drawn on a virtual screen (for pictures of them); without it nothing is drawn
# OHMWISE_WINEARCH=win64 runs 64-bit programs.
set -euo pipefail

screen=
if [ "${1:-}" = -x ]; then screen=1; shift; fi
export WINEARCH=${OHMWISE_WINEARCH:-win32}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;winemenubuilder.exe=d}
# Debian's wrapper prefers the 32-bit loader, whose scripts see the 32-bit classes only.
OHMWISE_WINE=wine
if [ "$WINEARCH" = win64 ] && [ -x /usr/lib/wine/wine64 ]; then
  OHMWISE_WINE=/usr/lib/wine/wine64
  export WINELOADER=$OHMWISE_WINE
fi
export OHMWISE_WINE

folder=$(cd "$(dirname "$0")/.." && pwd)/build/wine
version=$("$OHMWISE_WINE" --version | tr -c 'A-Za-z0-9.\n' _)
template=$folder/$version-$WINEARCH
mkdir -p "$folder"
exec 9>"$folder/lock"
flock 9
if [ ! -e "$template/.ready" ]; then
  rm -rf "$template"
  export WINEPREFIX=$template
  {
    env -u DISPLAY wineboot -i
    # Windows without a screen; with one, no waiting for a window manager.
    "$OHMWISE_WINE" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
    "$OHMWISE_WINE" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
    "$OHMWISE_WINE" reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
    wineserver -k || true
    wineserver -w || true
  } >/dev/null 2>&1 </dev/null 9>&-
  mkdir -p "$template/drive_c/windows/Fonts"
  for font in tahoma tahomabd marlett ms_sans_serif; do
    if [ -e "/usr/share/wine/fonts/$font.ttf" ]; then
      cp "/usr/share/wine/fonts/$font.ttf" "$template/drive_c/windows/Fonts/"
    fi
  done
  touch "$template/.ready"
fi
# Hard links: Wine replaces the registry's files and never writes into the others.
export WINEPREFIX
WINEPREFIX=$(mktemp -d "$folder/run.XXXXXX")
cp -al "$template/." "$WINEPREFIX/"
for file in "$WINEPREFIX"/*.reg "$WINEPREFIX/.update-timestamp"; do
  cp --remove-destination "$template/$(basename "$file")" "$file"
done
exec 9>&-

cleanup() {
  wineserver -k >/dev/null 2>&1 || true
  wineserver -w >/dev/null 2>&1 || true
  rm -rf "$WINEPREFIX"
}
trap cleanup EXIT
trap 'exit 130' INT TERM HUP
wineserver -p

# The command has a process group of its own: the shell need not wait for it to hear a signal, and
# ends all of it then.
run() {
  set -m
  "$@" <&0 &
  local group=$!
  set +m
  trap "kill -TERM -- -$group 2>/dev/null; exit 130" INT TERM HUP
  wait "$group"
}
# The system's own programs start now, apart: started by the first test they would keep its output
# open, and whoever reads that would wait for them.
if [ "$screen" ]; then
  sed -i 's/^"Graphics"="null"$/"Graphics"="x11"/' "$WINEPREFIX/user.reg"
  run xvfb-run -a -s '-screen 0 1024x768x24' sh -c '"$OHMWISE_WINE" cmd /c exit </dev/null >/dev/null 2>&1; exec "$@"' sh "$@"
else
  unset DISPLAY
  "$OHMWISE_WINE" cmd /c exit </dev/null >/dev/null 2>&1
  run "$@"
fi
