#!/usr/bin/env bash
# The whole test suite: a normal build, the same suite under AddressSanitizer
# and UndefinedBehaviorSanitizer, and a bounded fuzzing run when clang exists.
set -euo pipefail
cd "$(dirname "$0")"
jobs=$(nproc)

echo "== build and test =="
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
ctest --test-dir build --output-on-failure -j"$jobs" --timeout 300

echo "== build and test under ASan and UBSan =="
cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=Debug -DKOVO_SANITIZE=ON -DKOVO_BUILD_BENCH=OFF >/dev/null
cmake --build build-sanitize -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-sanitize --output-on-failure -j"$jobs" --timeout 600

if command -v clang++ >/dev/null 2>&1 && ls fuzz/*.cpp >/dev/null 2>&1; then
  echo "== fuzzing (bounded) =="
  CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Debug -DKOVO_SANITIZE=ON \
    -DKOVO_BUILD_FUZZ=ON -DKOVO_BUILD_TESTS=OFF -DKOVO_BUILD_BENCH=OFF >/dev/null
  targets=$(for f in fuzz/*.cpp; do basename "$f" .cpp; done)
  cmake --build build-fuzz -j"$jobs" --target $targets
  for name in $targets; do
    target=build-fuzz/fuzz/$name
    echo "-- $(basename "$target")"
    # close_fd_mask=1 keeps the library's traces of dropped input off the log.
    "$target" -max_total_time="${KOVO_FUZZ_SECONDS:-60}" -rss_limit_mb=2048 -close_fd_mask=1 2>&1 | tail -n 3
  done
fi
