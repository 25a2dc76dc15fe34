#!/usr/bin/env bash
# Installs what is missing on a Debian machine, builds and runs everything that must pass: style,
# the tests under AddressSanitizer and UndefinedBehaviorSanitizer (Clang), a short run of the fuzz
# targets, the binary interface against its stored description, and the tests of the release build
# (GCC) with the package and export checks.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" "${check_packages[@]}"

step() { printf '\n== %s\n' "$*"; }

step "release build, GCC"
cmake --preset release >/dev/null
cmake --build --preset release

step "sanitizer build, Clang"
cmake --preset asan >/dev/null
cmake --build --preset asan

step "style"
scripts/check-style.sh build/asan

step "tests under sanitizers"
ctest --preset asan

step "fuzz targets, briefly"
scripts/fuzz.sh 10

step "binary interface"
scripts/abi.sh

step "tests of the release build"
ctest --preset release
