#!/usr/bin/env bash
# Compares a built libKovoSDK.so with the committed ABI baseline:
#   abi-check.sh LIBRARY BASELINE           fails on a removed or changed export
#                                            or a changed record or enumeration;
#                                            added exports are reported and accepted
#   abi-check.sh --update LIBRARY BASELINE  writes the baseline from LIBRARY
set -euo pipefail
update=0
if [ "$1" = "--update" ]; then update=1; shift; fi
library=$1
baseline=$2
root=$(cd "$(dirname "$0")/.." && pwd)
current=$(mktemp)
trap 'rm -f "$current"' EXIT

# Short locations keep build paths out of the baseline; abi/private-types.suppr
# tells the public header's types from internal ones by that file name.
abidw --no-corpus-path --no-comp-dir-path --short-locs "$library" --out-file "$current"
if [ $update -eq 1 ]; then
  install -m 0644 "$current" "$baseline"
  echo "ABI baseline written: $baseline"
  exit 0
fi

suppressions=(--suppressions "$root/abi/private-types.suppr")
status=0
report=$(abidiff "${suppressions[@]}" "$baseline" "$current") || status=$?
echo "$report"
# abidiff's exit status is a bit set: 1 error, 2 usage error, 4 ABI change,
# 8 incompatible change (a removed export).
if (( status & 3 )); then
  echo "ABI check of $library: abidiff failed ($status)"
  exit 1
fi
if (( status & 8 )); then
  echo "ABI check of $library: an export was removed"
  exit 1
fi
if (( status & 4 )); then
  # A change that is not only added exports remains when additions are hidden.
  if ! abidiff "${suppressions[@]}" --no-added-syms "$baseline" "$current" >/dev/null; then
    echo "ABI check of $library: an export, record or enumeration changed"
    exit 1
  fi
  added=$(echo "$report" | sed -n 's/^Functions changes summary: .* \([0-9]*\) Added.*/\1/p')
  echo "ABI check of $library: ${added:-some} added exports, accepted"
  exit 0
fi
echo "ABI check of $library: unchanged"
