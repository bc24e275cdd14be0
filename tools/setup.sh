#!/usr/bin/env bash
# Sets up a Debian 12 machine for libPellium and runs one of its jobs.
#   tools/setup.sh crosstab   install what is missing, build the library and the pellium tool, and
#                             aggregate the bundled sales sample into a crosstab (the main job)
#   tools/setup.sh test   install what is missing, build (release) and run every test
#   tools/setup.sh asan   the same under AddressSanitizer and UndefinedBehaviorSanitizer
#   tools/setup.sh tsan   the same under ThreadSanitizer
#   tools/setup.sh concurrency   the tests that run many threads, under ThreadSanitizer
#   tools/setup.sh fuzz [SECONDS]   build the libFuzzer targets and run each (default 30 s)
#   tools/setup.sh valgrind   the release tests under valgrind's memcheck (no invalid access, no leak)
# Run it as root (or with sudo available) from the repository root.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  g++ clang cmake ninja-build pkg-config git
  libgtest-dev libgmock-dev libbenchmark-dev
  zlib1g-dev rapidjson-dev librapidxml-dev tao-pegtl-dev
  libicu-dev libsqlite3-dev tzdata libhowardhinnant-date-dev libclang-rt-14-dev
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
  concurrency) preset=tsan-concurrency ;;
  fuzz) preset="" ;;
  crosstab) preset=release ;;
  valgrind) preset=release; packages+=(valgrind) ;;
  *) echo "usage: tools/setup.sh [crosstab|test|asan|tsan|concurrency|debug|fuzz [SECONDS]|valgrind]" >&2; exit 2 ;;
esac

install_missing_packages
if [ -z "$preset" ]; then
  exec bash tools/fuzz-all.sh "${2:-30}"
fi
if [ "$job" = crosstab ]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target pellium
  exec build/release/tools/pellium/pellium crosstab examples/sales.csv --rows Region --columns Channel \
    --measure Revenue --format Revenue=DOLLAR16.2
fi
if [ "$job" = valgrind ]; then
  cmake --preset release >/dev/null
  cmake --build --preset release
  # Left out: the comparisons with ICU and SQLite and the long property and stress loops, which
  # repeat thousands of times what the other tests run once and would take hours under valgrind.
  skipped='*Icu*:*OracleTest*:SortComparators.AreStrictWeakOrderingsThatPlaceTheBands:ConcurrentReaders.*'
  failed=()
  for program in build/release/tests/test_*; do
    [ -x "$program" ] && [ -f "$program" ] || continue
    echo "== $(basename "$program")"
    valgrind -q --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
      "$program" --gtest_brief=1 "--gtest_filter=-$skipped" || failed+=("$(basename "$program")")
  done
  [ ${#failed[@]} -eq 0 ] || { echo "valgrind found errors in: ${failed[*]}" >&2; exit 1; }
  exit 0
fi
cmake --workflow --preset "$preset"
