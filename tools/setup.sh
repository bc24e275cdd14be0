#!/usr/bin/env bash
# Sets up a Debian 12 machine for libPellium and runs one of its jobs.
#   tools/setup.sh test   install what is missing, build (release) and run every test
#   tools/setup.sh asan   the same under AddressSanitizer and UndefinedBehaviorSanitizer
#   tools/setup.sh tsan   the same under ThreadSanitizer
# Run it as root (or with sudo available) from the repository root.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  g++ clang cmake ninja-build pkg-config git
  libgtest-dev libgmock-dev libbenchmark-dev
  zlib1g-dev rapidjson-dev librapidxml-dev tao-pegtl-dev
  libicu-dev libsqlite3-dev tzdata libhowardhinnant-date-dev
)

install_missing_packages() {
  local missing=()
  for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

job=${1:-test}
case "$job" in
  test) preset=release ;;
  asan | tsan | debug) preset=$job ;;
  *) echo "usage: tools/setup.sh [test|asan|tsan|debug]" >&2; exit 2 ;;
esac

install_missing_packages
cmake --workflow --preset "$preset"
