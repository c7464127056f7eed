#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and benchmark.
# Idempotent and quiet when everything is already there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  libvulkan-dev vulkan-validationlayers mesa-vulkan-drivers glslc
  libavcodec-dev libavformat-dev libavutil-dev libswscale-dev libswresample-dev ffmpeg
  libjpeg62-turbo-dev libturbojpeg0-dev libpng-dev libheif-dev libwebp-dev libexif-dev
  nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev
  qt6-base-dev qt6-multimedia-dev librlottie-dev fonts-material-design-icons-iconfont
  libvips-tools imagemagick bc time
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
