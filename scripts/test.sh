#!/usr/bin/env bash
# Installs what is missing on a Debian machine, builds the release and runs all its tests; a few
# minutes on two cores. Usage: scripts/test.sh [ctest arguments, e.g. -R Outline]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}"
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release -j"$(nproc)" "$@"
