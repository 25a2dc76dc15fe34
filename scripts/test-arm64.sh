#!/usr/bin/env bash
# Cross-builds for AArch64 and runs the test suite under qemu, with it the comparison of all results
# with the stored digests. Debian's arm64 packages are unpacked into build/arm64-root; this machine
# gets the compiler and qemu only. Usage: scripts/test-arm64.sh [ctest arguments]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" g++-aarch64-linux-gnu qemu-user
unpack_arm64_root
root=$arm64_root
cmake -S . -B build/arm64 -G Ninja --toolchain cmake/aarch64-linux-gnu.cmake \
  -DMORVIK_SYSROOT="$root" -DCMAKE_BUILD_TYPE=Release -DMORVIK_WERROR=ON >/dev/null
cmake --build build/arm64
ctest --test-dir build/arm64 --output-on-failure -j"$(nproc)" "$@"
