#!/usr/bin/env bash
# Runs copies, rotations, conversions, the bounding box, scaling and smoothing on images above 2^31
# bytes. Takes minutes and 8 GiB of available memory. Usage: scripts/test-large.sh [gtest arguments]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}"
available=$(awk '/^MemAvailable:/ { print int($2 / 1048576) }' /proc/meminfo)
((available >= 8)) || { echo "needs 8 GiB of available memory, there are $available"; exit 1; }
cmake --preset release >/dev/null
cmake --build --preset release --target morvik_test_large
build/release/tests/robust/morvik_test_large "$@"
