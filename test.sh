#!/usr/bin/env bash
# ./test.sh [ctest options]: installs what is missing, builds the tests and runs them all.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$here"

tools/setup.sh
grep -qs 'MORVA_BUILD_TESTS:BOOL=ON' build/CMakeCache.txt && [ -f build/build.ninja ] ||
  cmake --preset release -DMORVA_BUILD_TESTS=ON >&2
cmake --build build >&2
exec ctest --test-dir build --output-on-failure --parallel "$(nproc)" "$@"
