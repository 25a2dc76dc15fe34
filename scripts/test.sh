#!/usr/bin/env bash
# Installs what is missing on a Debian machine, builds the release and runs all its tests, those of
# the Python package included; a few minutes on two cores.
# Usage: scripts/test.sh [ctest arguments, e.g. -R Outline; the Python tests are left out then]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}"
cmake --preset release >/dev/null
cmake --build --preset release
(($#)) || scripts/test-python.sh
ctest --preset release -j"$(nproc)" "$@"
