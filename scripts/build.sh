#!/usr/bin/env bash
# Configures (once) and builds the given presets: native win64 win32 bench fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."
for preset in "$@"; do
  [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
  cmake --build "build/$preset"
done
