#!/usr/bin/env bash
# Unpacks the target architecture's libuuid and GoogleTest from Debian's
# packages into a sysroot for a cross build: cross-sysroot.sh ARCH DIR.
# The architecture must be known to dpkg (install-deps.sh --platforms).
set -euo pipefail
arch=$1
sysroot=$2
[ -f "$sysroot/.complete" ] && exit 0
debs=$(mktemp -d)
trap 'rm -rf "$debs"' EXIT
chmod a+rwx "$debs"  # apt fetches as its own user
download() {
  (cd "$debs" && apt-get download -q "uuid-dev:$arch" "libuuid1:$arch" "libgtest-dev:$arch" >/dev/null)
}
if ! download; then
  # The architecture's index may not have been fetched yet.
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -q >/dev/null || true
  download
fi
mkdir -p "$sysroot"
for deb in "$debs"/*.deb; do
  dpkg-deb -x "$deb" "$sysroot"
done
touch "$sysroot/.complete"
