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
  locales                                        # the Shift-JIS locale below
  netbase                                        # /etc/services for the service-lookup tests
)

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "deps: installing ${missing[*]}"
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# A double-byte locale whose trail bytes include the backslash, for the
# message catalogue's tests. glibc warns that Shift-JIS is not ASCII
# compatible, which is the point; -c makes the locale all the same.
if ! locale -a 2>/dev/null | grep -qix 'ja_JP.sjis'; then
  echo "deps: making the ja_JP.SJIS locale"
  "${sudo_cmd[@]}" localedef -c --no-warnings=ascii -i ja_JP -f SHIFT_JIS ja_JP.SJIS || true
  locale -a 2>/dev/null | grep -qix 'ja_JP.sjis' || echo "deps: ja_JP.SJIS could not be made" >&2
fi
