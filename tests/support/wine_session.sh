#!/usr/bin/env bash
# Starts or stops the Wine session that every test of a run shares.
#   wine_session.sh start BIN_DIR   creates the prefix when missing, starts an X display
#                                   (Xvfb) and one persistent wineserver, starts Wine's
#                                   desktop process on that display, and prepares the
#                                   win98 program versions
#   wine_session.sh stop            ends the wineserver and the display
# WINEPREFIX, WINELOADER (the loader of the architecture under test), VOFS_ARCH (x86 or
# x64), WINEDEBUG and WINEDLLOVERRIDES come from the caller's environment. Both
# architectures use a 64-bit prefix; 32-bit programs live in its syswow64 folder. The
# session's display is written to $WINEPREFIX/session.env, which in_session.sh reads.
#
# Wine starts long-lived helper processes (services, the desktop) on first use; they
# inherit the output of the process that needed them, and ctest waits until every holder
# of a test's output has exited. So every Wine command here has its output redirected,
# and the desktop is started here, on the session's display, before any test runs.
set -euo pipefail
# shellcheck source=wine_loader.sh
. "$(dirname "$0")/wine_loader.sh"

session_file="$WINEPREFIX/session.env"

start_display() {
  command -v Xvfb >/dev/null || { echo "Xvfb is not installed: tests that need a display will skip"; return 0; }
  local n
  for n in $(seq 90 190); do
    [ -e "/tmp/.X11-unix/X$n" ] || [ -e "/tmp/.X$n-lock" ] && continue
    Xvfb ":$n" -nolisten tcp -screen 0 1280x1024x24 </dev/null >/dev/null 2>&1 &
    local pid=$!
    for _ in $(seq 50); do
      [ -e "/tmp/.X11-unix/X$n" ] && break
      sleep 0.1
    done
    printf 'export DISPLAY=:%s\nexport VOFS_DISPLAY_READY=1\nxvfb_pid=%s\n' "$n" "$pid" > "$session_file"
    return 0
  done
  echo "no free X display number: tests that need a display will skip"
}

# `wine reg add`, tried again: right after a prefix's first boot, with other Wine programs
# starting beside it, it has failed once in a fresh clone's run.
reg_add() {
  local attempt
  for attempt in 1 2 3; do
    wine reg add "$@" /f </dev/null >/dev/null 2>&1 && return 0
    sleep "$attempt"
  done
  echo "wine reg add $* failed three times" >&2
  return 1
}

case "${1:-}" in
  start)
    bin_dir=$2
    mkdir -p "$WINEPREFIX"
    "$0" stop
    : > "$session_file"
    start_display
    # shellcheck disable=SC1090
    . "$session_file"
    if [ ! -f "$WINEPREFIX/system.reg" ]; then
      echo "creating Wine prefix $WINEPREFIX (the first start takes a while)"
      wine wineboot -i </dev/null >/dev/null 2>&1 || true
      # A crashing program would wait in Wine's debugger until the test times out; in the
      # test prefix it ends at once instead.
      reg_add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d false
      # The first boot's processes would not see drive letters added from here on.
      wineserver -k </dev/null >/dev/null 2>&1 || true
    fi
    # Test drives for the volume tests, made again on every start (before the server and
    # its device manager start, which read the drive letters once): v: is a folder of the
    # build tree, w: a drive letter whose target does not exist (a drive without a root).
    test_drive="$(dirname "$bin_dir")/test-drive-v"
    rm -rf "$test_drive" && mkdir -p "$test_drive"
    ln -sfn "$test_drive" "$WINEPREFIX/dosdevices/v:"
    ln -sfn "$(dirname "$bin_dir")/test-drive-w-missing" "$WINEPREFIX/dosdevices/w:"
    wineserver -p </dev/null >/dev/null 2>&1 || true
    # Programs that run as on Windows 98: the ANSI and non-NT branches are tested for real.
    case "${VOFS_ARCH:?}" in
      x86) system="$WINEPREFIX/drive_c/windows/syswow64" ;;
      *) system="$WINEPREFIX/drive_c/windows/system32" ;;
    esac
    cp -f "$system/cscript.exe" "$system/cscript98.exe"
    for program in cscript98.exe vofslib_tests98.exe; do
      reg_add "HKCU\\Software\\Wine\\AppDefaults\\$program" /v Version /d win98
    done
    # Starts the desktop process (on this display) with its output going nowhere.
    wine rundll32.exe user32.dll,GetDesktopWindow </dev/null >/dev/null 2>&1 || true
    # A program of the architecture under test must run here (output to a file: a pipe
    # would stay open as long as some long-lived Wine process inherited it).
    probe="$WINEPREFIX/probe.txt"
    if ! wine cmd.exe /c echo ready </dev/null >"$probe" 2>&1 || ! tr -d '\r' <"$probe" | grep -qx ready; then
      echo "Wine cannot run $VOFS_ARCH programs with $WINELOADER in $WINEPREFIX:"
      tail -n 5 "$probe"
      exit 1
    fi
    if [ -f "$bin_dir/vofslib_tests.exe" ]; then
      cp -f "$bin_dir/vofslib_tests.exe" "$bin_dir/vofslib_tests98.exe"
    fi
    ;;
  stop)
    wineserver -k </dev/null >/dev/null 2>&1 || true
    if [ -f "$session_file" ]; then
      xvfb_pid=
      # shellcheck disable=SC1090
      . "$session_file"
      [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
      rm -f "$session_file"
    fi
    ;;
  *)
    echo "usage: $0 start BIN_DIR | stop" >&2
    exit 2
    ;;
esac
