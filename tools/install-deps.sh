#!/usr/bin/env bash
# Installs the Debian packages that building and testing the SDK need and
# that a fresh Debian 12 machine lacks. Does nothing when all are present.
set -euo pipefail
packages=(cmake g++ make pkg-config uuid-dev libgtest-dev libbenchmark-dev
          ffmpeg libavcodec-dev libavformat-dev libavutil-dev libswscale-dev libswresample-dev
          libjpeg-turbo-progs jq clang libclang-rt-14-dev
          gstreamer1.0-tools gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-plugins-ugly)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
