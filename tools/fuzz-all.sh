#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, with address and undefined-behaviour checks) and runs each
# for a while on a scratch copy of its committed seed corpus, so that a run never changes the
# repository. Stops at the first target that finds a crash, leak or timeout; libFuzzer leaves the
# input that did it in build/fuzz/findings/<Name>/.
#   tools/fuzz-all.sh [SECONDS per target, default 30] [NAME filter, a grep pattern]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
filter=${2:-.}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

work=build/fuzz/findings
for program in build/fuzz/fuzz/fuzz_*Fuzzer; do
  name=$(basename "$program" Fuzzer)
  name=${name#fuzz_}
  echo "$name" | grep -q -- "$filter" || continue
  corpus=$work/$name/corpus
  rm -rf "$corpus" && mkdir -p "$corpus"
  [ -d "fuzz/corpus/$name" ] && cp -r "fuzz/corpus/$name/." "$corpus/"
  echo "== $name: ${seconds} s"
  (cd "$work/$name" && "$OLDPWD/$program" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
     -max_len=65536 -print_final_stats=1 corpus 2>&1 | grep -E "^(Done|stat::number_of_executed_units|stat::peak_rss_mb|==[0-9]+==ERROR|SUMMARY)" || true)
  if ls "$work/$name"/crash-* "$work/$name"/leak-* "$work/$name"/timeout-* "$work/$name"/oom-* >/dev/null 2>&1; then
    echo "$name found a failing input: $(ls "$work/$name" | grep -E '^(crash|leak|timeout|oom)-' | head -1)" >&2
    exit 1
  fi
done
