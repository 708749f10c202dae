#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a C program
# against it twice: through pkg-config and through find_package.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
libdir=$(dirname "$(find "$work/prefix" -name 'libKovoSDK.so' | head -n 1)")

export PKG_CONFIG_PATH="$libdir/pkgconfig"
cc -std=c11 "$source_dir/consumer.c" -o "$work/by-pkg-config" $(pkg-config --cflags --libs kovosdk)
LD_LIBRARY_PATH="$libdir" "$work/by-pkg-config"

cmake -S "$source_dir" -B "$work/consumer-build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer-build" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/consumer-build/consumer"
echo "installed library usable through pkg-config and find_package"
