#!/usr/bin/env bash
# tools/fuzz.sh [SECONDS]: builds the fuzz targets and runs each for SECONDS (60).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tools/setup.sh fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzzers
for target in build-fuzz/fuzz_*; do
  [ -x "$target" ] && [ -f "$target" ] || continue
  echo "== $(basename "$target")"
  corpus=$(mktemp -d)
  seeds=("fuzz/seeds/$(basename "$target")")
  [ "$(basename "$target")" != fuzz_profile ] || seeds=(profiles/films profiles/papers profiles/filters)
  "$target" -max_total_time="${1:-60}" -timeout=40 -rss_limit_mb=4096 -verbosity=0 -print_final_stats=1 \
    "$corpus" "${seeds[@]}"
  rm -rf "$corpus"
done
