#!/usr/bin/env bash
# Runs the dispatch fuzzer (or its create/use/release cycle) in a Wine prefix of its own
# that has no drive for the host's root: besides the prefix's C:, it sees only T: (the
# build's bin folder, named by no argument) and its sandbox drive, so no member it calls
# can reach files outside the build tree. The prefix is made once and kept.
#   run_fuzzer.sh BIN_DIR fuzz SEED CALLS      a campaign (sandbox S:)
#   run_fuzzer.sh BIN_DIR cycle ROUNDS         the cycle (sandbox R:)
# WINELOADER comes from the caller's environment, and VOFS_FTP_SERVERS (the folder of the
# test session's FTP servers, whose addresses the fuzzer's FTP sessions use) when set.
set -euo pipefail
# shellcheck source=../support/wine_loader.sh
. "$(dirname "$0")/../support/wine_loader.sh"
bin=$(cd "$1" && pwd) && shift
build=$(dirname "$bin")
export WINEPREFIX="$build/fuzzprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY  # no window can open, so nothing waits for a user

(
  flock 9
  if [ ! -f "$WINEPREFIX/system.reg" ]; then
    wine wineboot -i </dev/null >/dev/null 2>&1 || true
    # A crash ends the program at once instead of waiting in Wine's debugger.
    wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d false /f \
      </dev/null >/dev/null 2>&1
  fi
  rm -f "$WINEPREFIX/dosdevices/z:"
  ln -sfn "$bin" "$WINEPREFIX/dosdevices/t:"
  ln -sfn "$build/fuzz-sandbox-s" "$WINEPREFIX/dosdevices/s:"
  ln -sfn "$build/fuzz-sandbox-r" "$WINEPREFIX/dosdevices/r:"
) 9>"$build/fuzzprefix.lock"

servers="${VOFS_FTP_SERVERS:-/nonexistent}/servers.env"
# shellcheck disable=SC1090
[ -f "$servers" ] && . "$servers"

drive=s && [ "$1" = cycle ] && drive=r
rm -rf "$build/fuzz-sandbox-$drive" && mkdir -p "$build/fuzz-sandbox-$drive"
log="$build/fuzz-$1.log"
status=0
wine 't:\vofslib_dispatch_fuzzer.exe' 't:\vofslib.dll' "$drive:\\" "$@" </dev/null >"$log" 2>&1 || status=$?
tr -d '\r' < "$log"
exit "$status"
