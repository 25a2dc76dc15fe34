#!/usr/bin/env bash
# clang-format over all C and C++ files, clang-tidy over what the library compiles.
# Usage: scripts/check-style.sh BUILD_FOLDER   (a configured one, for its compile_commands.json)
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files --cached --others --exclude-standard -- '*.c' '*.cpp' '*.h' '*.hpp' |
  xargs clang-format-19 --dry-run -Werror
git ls-files --cached --others --exclude-standard -- 'src/*.cpp' |
  xargs -P "$(nproc)" -n 2 clang-tidy-19 -p "$1" --quiet
