#!/usr/bin/env bash
# Installs into a folder of its own, then builds a small C host against it by pkg-config and by CMake.
set -euo pipefail
cmake=$1 build=$2 cc=$3 libdir=$4
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

"$cmake" --install "$build" --prefix "$prefix" >/dev/null
test -f "$prefix/$libdir/morva/profiles/films/everyday_400.json"
mkdir "$prefix/host"
cat >"$prefix/host/host.c" <<'HOST'
#include <morva.h>
#include <stdio.h>

int main(void) {
  const float grey[3] = {0.18f, 0.18f, 0.18f};
  MorvaImage out;
  MorvaError err;
  int code = morva_render(grey, 1, 1, NULL, "everyday_400", "plain", NULL, &out, &err);
  printf("%d %s%.2f\n", code, err.message, code == 0 ? out.data[1] : 0.0f);
  morva_free(&out);
  return code;
}
HOST
export LD_LIBRARY_PATH=$prefix/$libdir
unset MORVA_PROFILES_DIR

export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
"$cc" -std=c99 "$prefix/host/host.c" -o "$prefix/host/by_pkg_config" $(pkg-config --cflags --libs morva)
test "$("$prefix/host/by_pkg_config")" = "0 0.18"

cat >"$prefix/host/CMakeLists.txt" <<'LISTS'
cmake_minimum_required(VERSION 3.25)
project(host C)
find_package(morva 0.1 REQUIRED)
add_executable(by_cmake host.c)
target_link_libraries(by_cmake PRIVATE morva::core)
LISTS
"$cmake" -S "$prefix/host" -B "$prefix/host/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
"$cmake" --build "$prefix/host/build" >/dev/null
test "$("$prefix/host/build/by_cmake")" = "0 0.18"

films=$("$prefix/bin/morva" list films)
grep -q everyday_400 <<<"$films"
echo "the installed tree serves a C host and the command line"
