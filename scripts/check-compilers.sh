#!/usr/bin/env bash
# Builds library, tool and tests without a warning with Debian's default compilers, or with those
# that are named. Usage: scripts/check-compilers.sh [compiler...], e.g. g++-13 clang++-16
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" g++ clang
compilers=("$@")
((${#compilers[@]})) || compilers=(g++ clang++)
for compiler in "${compilers[@]}"; do
  echo "== $("$compiler" --version | head -n 1)"
  cmake -S . -B "build/with-$compiler" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Release -DMORVIK_WERROR=ON >/dev/null
  cmake --build "build/with-$compiler"
done
