#!/usr/bin/env bash
# Installs the Debian packages that building and testing the SDK need and
# that a fresh Debian 12 machine lacks. Does nothing when all are present.
# With --platforms it also installs the 32-bit cross toolchains, qemu-user
# and the ABI tools, and lets apt fetch i386 and armhf packages.
set -euo pipefail
packages=(cmake g++ make pkg-config uuid-dev libgtest-dev libbenchmark-dev
          ffmpeg libavcodec-dev libavformat-dev libavutil-dev libswscale-dev libswresample-dev
          libjpeg-turbo-progs jq clang libclang-rt-14-dev
          gstreamer1.0-tools gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-plugins-ugly)
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
if [ "${1:-}" = "--platforms" ]; then
  packages+=(g++-i686-linux-gnu g++-arm-linux-gnueabihf qemu-user abigail-tools dpkg-dev file)
  for arch in i386 armhf; do
    dpkg --print-foreign-architectures | grep -qx "$arch" || $sudo dpkg --add-architecture "$arch"
  done
fi
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# A mirror caught mid-sync fails one index (often a foreign architecture's
# security list); what the others hold is still enough.
$sudo apt-get update -q || echo "apt-get update reported errors; going on with the indexes it has"
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
