#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a C program
# against it twice: through pkg-config and through find_package. The build
# directory's compiler, flags and toolchain file come in KOVO_CC, KOVO_CFLAGS,
# KOVO_LDFLAGS, KOVO_TOOLCHAIN (and its KOVO_SYSROOT); KOVO_RUN runs a program
# built for the target.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cc=${KOVO_CC:-cc}
run=${KOVO_RUN:-}

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
libdir=$(dirname "$(find "$work/prefix" -name 'libKovoSDK.so' | head -n 1)")

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# The run path finds the library even where the runner fixes its own search path.
$cc ${KOVO_CFLAGS:-} -std=c11 "$source_dir/consumer.c" -o "$work/by-pkg-config" \
  $(pkg-config --cflags --libs kovosdk) ${KOVO_LDFLAGS:-} -Wl,-rpath,"$libdir"
LD_LIBRARY_PATH="$libdir" $run "$work/by-pkg-config"

cmake_args=(-DCMAKE_C_COMPILER="$cc" -DCMAKE_C_FLAGS="${KOVO_CFLAGS:-}" -DKovoSDK_DIR="$libdir/cmake/KovoSDK")
[ -n "${KOVO_TOOLCHAIN:-}" ] && cmake_args+=(-DCMAKE_TOOLCHAIN_FILE="$KOVO_TOOLCHAIN" -DKOVO_SYSROOT="$KOVO_SYSROOT")
cmake -S "$source_dir" -B "$work/consumer-build" "${cmake_args[@]}" >/dev/null
cmake --build "$work/consumer-build" >/dev/null
LD_LIBRARY_PATH="$libdir" $run "$work/consumer-build/consumer"
echo "installed library usable through pkg-config and find_package"
