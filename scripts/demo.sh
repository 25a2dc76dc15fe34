#!/usr/bin/env bash
# Builds the morvik tool and runs it on the sample pictures; leaves the page out/demo/index.html.
# Installs what is missing on a Debian machine.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}"
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DMORVIK_BUILD_TESTS=OFF -DMORVIK_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/demo
build/demo/tools/morvik demo --samples samples -o out/demo
