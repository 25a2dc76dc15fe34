#!/usr/bin/env bash
# Compares the shared library's binary interface with the stored description of this platform, so
# that no change of it goes unseen. Usage: scripts/abi.sh [update]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" "${check_packages[@]}"
stored=abi/libmorvik-$(uname -m).abi
if [[ ${1:-} != update && ! -e $stored ]]; then
  echo "no description for $(uname -m) is stored, nothing to compare: scripts/abi.sh update writes one"
  exit
fi
cmake -S . -B build/abi -G Ninja -DCMAKE_BUILD_TYPE=Debug -DMORVIK_BUILD_TESTS=OFF \
  -DMORVIK_BUILD_TOOLS=OFF -DMORVIK_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/abi --target morvik
if [[ ${1:-} == update ]]; then
  mkdir -p abi
  abidw --headers-dir include --drop-private-types --drop-undefined-syms \
    --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-elf-needed \
    --no-show-locs --type-id-style hash --out-file "$stored" build/abi/libmorvik.so
else
  abidiff --headers-dir2 include "$stored" build/abi/libmorvik.so && echo "interface unchanged"
fi
