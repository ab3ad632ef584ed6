#!/usr/bin/env bash
# ./run.sh [PHOTO] [host options]: renders PHOTO, or the program's own demo scene, and prints where the
# picture is. Installs and builds what is missing first.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

photo=demo
if [ $# -gt 0 ] && [[ $1 == - || $1 != -* ]]; then
  photo=$1
  shift
fi

"$here/tools/setup.sh" run
[ -f "$here/build/build.ninja" ] ||
  (cd "$here" && cmake --preset release -DMORVA_BUILD_TESTS=OFF >&2)
cmake --build "$here/build" --target morva >&2

wants_output=1
format=png
previous=
for argument in "$@"; do
  case $argument in
    -o | -o?* | --output | --output=*) wants_output=0 ;;
    --format=*) format=${argument#*=} ;;
    *) [ "$previous" != --format ] || format=$argument ;;
  esac
  previous=$argument
done
if [ "$wants_output" = 1 ]; then
  mkdir -p "$here/pictures"
  name=$(basename -- "$photo")
  set -- -o "$here/pictures/${name%.*}.$format" --force "$@"
fi
exec "$here/build/morva" render "$photo" "$@"
