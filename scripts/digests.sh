#!/usr/bin/env bash
# Writes tests/robust/digests.txt anew, the list of results that every system must give. Only where
# the OpenCV calls that judge the results in the other tests are those that define them, and after
# these tests have passed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}"
if [[ $(uname -m) != x86_64 || $(dpkg-query -W -f='${Version}' libopencv-core-dev) != 4.6.* ]]; then
  echo "the list is written on x86-64 with OpenCV 4.6 (Debian 12)" >&2
  exit 2
fi
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release -j"$(nproc)" -E Digests
build/release/tests/robust/morvik_digest >build/release/digests.txt
mv build/release/digests.txt tests/robust/digests.txt
git diff --stat -- tests/robust/digests.txt
