#!/usr/bin/env bash
# Builds the 64-bit DLL and twtool and runs twtool under wine:
# with no arguments its help and version, otherwise the given command.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh win64
scripts/wine-session.sh start build/win64
trap 'scripts/wine-session.sh stop build/win64' EXIT
tool=build/win64/bin/twtool.exe
if [ $# -eq 0 ]; then
  scripts/wine-run "$tool" --help
  scripts/wine-run "$tool" version
else
  scripts/wine-run "$tool" "$@"
fi
