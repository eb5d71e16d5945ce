#!/usr/bin/env bash
# Installs what building, testing, benchmarking and fuzzing need, from
# Debian's packages. Idempotent: does nothing when everything is there.
set -euo pipefail

packages=(
  cmake ninja-build g++ make pkg-config python3 binutils
  clang libclang-rt-14-dev                       # fuzzing
  googletest libbenchmark-dev                    # tests, benchmarks
  g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix binutils-mingw-w64
  wine wine64                                    # running the Windows tests
  libglib2.0-dev libbsd-dev libicu-dev libspdlog-dev  # benchmark peers
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "deps: installing ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
