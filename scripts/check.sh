#!/usr/bin/env bash
# What contributors run beside scripts/test.sh: style, the tests under AddressSanitizer and
# UndefinedBehaviorSanitizer (Clang), the fuzz targets for ten seconds each, and the binary
# interface against its stored description. Installs what is missing on a Debian machine.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" "${check_packages[@]}"

step() { printf '\n== %s\n' "$*"; }

step "sanitizer build"
cmake --preset asan >/dev/null
cmake --build --preset asan

step "style"
scripts/check-style.sh build/asan

step "binary interface"
scripts/abi.sh

step "fuzz targets, briefly"
scripts/fuzz.sh 10

step "tests under sanitizers"
ctest --preset asan -j"$(nproc)"
