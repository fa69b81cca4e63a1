#!/usr/bin/env bash
# Runs a command inside the test run's Wine session (its X display, when there is one).
#   in_session.sh COMMAND [ARGUMENTS...]
set -euo pipefail
session_file="$WINEPREFIX/session.env"
# shellcheck disable=SC1090
[ -f "$session_file" ] && . "$session_file"
exec "$@"
