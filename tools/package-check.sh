#!/usr/bin/env bash
# Builds the Debian packages from a build directory and lists their contents:
#   package-check.sh BUILD_DIR [--install]
# With --install (as root or through sudo) it also installs them, builds the C
# consumer in tests/sdk/consumer against the installed files through
# pkg-config and through find_package, runs both, and removes the packages.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
out=$build/packages
names=(kovo-tools libkovosdk-dev libkovosdk2)

# Packages install under /usr, so the library goes to the multiarch directory.
cmake -S "$root" -B "$build" -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null
rm -rf "$out"
(cd "$build" && cpack -G DEB -B "$out" >/dev/null)
rm -rf "$out/_CPack_Packages"
debs=("$out"/*.deb)
[ ${#debs[@]} -eq ${#names[@]} ] || { echo "expected ${#names[@]} packages, got: ${debs[*]}"; exit 1; }
for deb in "${debs[@]}"; do
  echo "-- $(basename "$deb")"
  dpkg-deb --field "$deb" Package Version Architecture Depends
  dpkg -c "$deb"
done
[ "${2:-}" = "--install" ] || exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
for name in "${names[@]}"; do
  if dpkg -s "$name" >/dev/null 2>&1; then
    echo "$name is installed already; not installing over it"
    exit 1
  fi
done
work=$(mktemp -d)
trap '$sudo dpkg --purge "${names[@]}" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
$sudo dpkg -i "${debs[@]}"

consumer=$root/tests/sdk/consumer
cc -std=c11 "$consumer/consumer.c" -o "$work/by-pkg-config" $(pkg-config --cflags --libs kovosdk)
"$work/by-pkg-config"
cmake -S "$consumer" -B "$work/by-find-package" >/dev/null
cmake --build "$work/by-find-package" >/dev/null
"$work/by-find-package/consumer"
dpkg -L kovo-tools | grep /bin/

$sudo dpkg --purge "${names[@]}"
for name in "${names[@]}"; do
  ! dpkg -s "$name" 2>/dev/null | grep -q '^Status: install ok installed'
done
echo "packages installed, consumer built through pkg-config and find_package and run, packages removed"
