#!/usr/bin/env bash
# Size of the test suite against the code it tests: non-blank, non-comment
# lines of tests/ (C/C++ and Python; preprocessor lines do not count) against
# those of every other source folder except bench/ and fuzz/ (C/C++; blank and
# // lines do not count), over git-tracked files. Prints tests, code, ratio.
set -euo pipefail
cd "$(dirname "$0")/.."
count() { # count PATTERN FILE...
  local pattern=$1; shift
  [ $# -eq 0 ] && { echo 0; return; }
  cat -- "$@" | grep -cvE "$pattern" || true
}
mapfile -t test_files < <(git ls-files -- 'tests/*.c' 'tests/*.cc' 'tests/*.cpp' 'tests/*.h' 'tests/*.hpp' 'tests/*.py')
mapfile -t code_files < <(git ls-files -- '*.c' '*.cc' '*.cpp' '*.h' '*.hpp' | grep -vE '^(tests|bench|fuzz)/|^[^/]*$')
tests=$(count '^[[:space:]]*($|//|#)' "${test_files[@]}")
code=$(count '^[[:space:]]*($|//)' "${code_files[@]}")
echo "tests $tests lines = $(awk -v t="$tests" -v c="$code" 'BEGIN { printf "%.2f", t / c }') of code $code"
