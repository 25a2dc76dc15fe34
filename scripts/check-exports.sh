#!/usr/bin/env bash
# The shared library exports what the header declares, no more and no less.
# Usage: scripts/check-exports.sh LIBRARY
set -euo pipefail
cd "$(dirname "$0")/.."
declared=$(grep -oE '\b(mvk_[a-z_]+|qxMorvik_version)\(.*' <(grep -A1 '^MVK_API' include/morvik/morvik.h) |
  grep -oE '^[A-Za-z_]+' | sort -u)
exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | sort -u)
[ -n "$declared" ]
diff <(echo "$declared") <(echo "$exported") && echo "$(wc -l <<<"$exported") functions exported"
