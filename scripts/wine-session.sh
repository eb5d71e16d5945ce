#!/usr/bin/env bash
# Starts or stops the wine server of a build's prefix (<build>/wineprefix).
# Both are detached from our stdio: wine's background processes would
# otherwise hold the test runner's pipes open and it would never finish.
set -euo pipefail
action=$1
build=$(cd "$2" && pwd)
export WINEPREFIX=$build/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
case $action in
  start)
    mkdir -p "$WINEPREFIX"
    # Exits non-zero when a server already runs for this prefix: that one serves.
    wineserver -p </dev/null >/dev/null 2>&1 || true
    wine wineboot </dev/null >/dev/null 2>&1
    ;;
  stop)
    wineserver -k </dev/null >/dev/null 2>&1 || true
    ;;
  *) echo "usage: $0 start|stop BUILD_DIR" >&2; exit 2 ;;
esac
