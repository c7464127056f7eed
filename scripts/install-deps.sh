#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and benchmark.
# Idempotent and quiet when everything is already there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  libvulkan-dev vulkan-validationlayers mesa-vulkan-drivers glslc
  libavcodec-dev libavformat-dev libavutil-dev libswscale-dev libswresample-dev ffmpeg
  libjpeg62-turbo-dev libturbojpeg0-dev libpng-dev libheif-dev libwebp-dev libexif-dev zlib1g-dev
  nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev
  qt6-base-dev qt6-multimedia-dev qt6-l10n-tools qt6-tools-dev librlottie-dev fonts-material-design-icons-iconfont
  libvips-tools imagemagick bc time
  xvfb xauth dbus at-spi2-core python3-gi gir1.2-atspi-2.0 libqt6test6
  clang libclang-rt-dev  # the fuzz targets: libFuzzer and the sanitizer runtimes
  qt6-xdgdesktopportal-platformtheme
)

sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive

# Debian 12's Mesa 22.3 lavapipe runs both sides of every branch for every pixel, which
# makes the CPU device several times slower; its backports carry Mesa 25. Only the Mesa
# driver packages and the libdrm they need are taken from there.
backports_mesa=0
if [ -r /etc/os-release ] && . /etc/os-release && [ "${VERSION_CODENAME:-}" = bookworm ]; then
  backports_mesa=1
  sources=/etc/apt/sources.list.d/halvane-bookworm-backports.sources
  pin=/etc/apt/preferences.d/halvane-mesa-backports
  if [ ! -f "$sources" ] || [ ! -f "$pin" ]; then
    printf '%s\n' 'Types: deb' 'URIs: http://deb.debian.org/debian' 'Suites: bookworm-backports' \
      'Components: main' 'Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg' |
      "${sudo_cmd[@]}" tee "$sources" >/dev/null
    printf '%s\n' \
      'Package: mesa-vulkan-drivers mesa-libgallium libgl1-mesa-dri libgl1-mesa-dev libglx-mesa0 libegl-mesa0 libgbm1 libglapi-mesa libdrm2 libdrm-common libdrm-amdgpu1 libdrm-intel1 libdrm-nouveau2 libdrm-radeon1' \
      'Pin: release n=bookworm-backports' 'Pin-Priority: 990' '' \
      'Package: *' 'Pin: release n=bookworm-backports' 'Pin-Priority: 100' |
      "${sudo_cmd[@]}" tee "$pin" >/dev/null
    "${sudo_cmd[@]}" apt-get update -qq
  fi
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ "$backports_mesa" = 1 ] &&
   ! dpkg-query -W -f='${Version}' mesa-vulkan-drivers 2>/dev/null | grep -q bpo; then
  missing+=(mesa-vulkan-drivers)
fi
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
