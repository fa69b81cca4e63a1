#!/usr/bin/env bash
# Runs a command inside the test run's Wine session (its X display, when there is one) with
# the addresses of the run's FTP servers in its environment (VOFS_FTP_PORT and the rest).
#   in_session.sh COMMAND [ARGUMENTS...]
set -euo pipefail
for file in "$WINEPREFIX/session.env" "${VOFS_FTP_SERVERS:-/nonexistent}/servers.env"; do
  # shellcheck disable=SC1090
  [ -f "$file" ] && . "$file"
done
exec "$@"
