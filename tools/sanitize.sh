#!/usr/bin/env bash
# tools/sanitize.sh [address|thread|all]: builds the suite with the sanitizers and runs it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tools/setup.sh
run_preset() {
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1"
  ctest --preset "$1" --parallel "$(nproc)"
}
case ${1:-all} in
  address) run_preset asan ;;
  thread) run_preset tsan ;;
  all) run_preset asan && run_preset tsan ;;
  *) echo "tools/sanitize.sh [address|thread|all]" >&2; exit 1 ;;
esac
