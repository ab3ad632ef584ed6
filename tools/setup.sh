#!/usr/bin/env bash
# Installs the Debian packages that building and testing need and that are not there yet; says which.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  nlohmann-json3-dev libjpeg62-turbo-dev libpng-dev libtiff-dev libwebp-dev libexif-dev
  libraw-dev libheif-dev
  libstb-dev libfontconfig1 fonts-liberation2
  libvulkan-dev glslang-tools spirv-tools
  libcli11-dev libopenexr-dev liblcms2-dev
)
[ "${1:-}" = run ] || packages+=(
  libgtest-dev libheif-examples python3 python3-numpy python3-scipy python3-pil
  python3-pip python3-setuptools python3-venv parallel
  mesa-vulkan-drivers vulkan-validationlayers)
[ "${1:-}" != fuzz ] || packages+=(clang-14 libclang-rt-14-dev)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "Installing: ${missing[*]}" >&2
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq >&2
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
