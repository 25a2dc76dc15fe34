#!/usr/bin/env bash
# Runs the calls from many threads under ThreadSanitizer. OpenCV's own thread pool is not built for
# it, so OpenCV stays on the calling threads.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}"
cmake --preset tsan >/dev/null
cmake --build --preset tsan --target morvik_test_robust
build/tsan/tests/robust/morvik_test_robust --gtest_filter='Threads.*'
