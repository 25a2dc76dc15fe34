#!/usr/bin/env bash
# Runs the unit tests under valgrind: reads of memory that was never written, which the sanitizers
# do not see. Takes most of an hour. Usage: scripts/valgrind.sh [folder of tests...]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" valgrind
cmake --preset release >/dev/null
cmake --build --preset release
families=("$@")
((${#families[@]})) || families=(api core core/contours mask outline face)
for family in "${families[@]}"; do
  valgrind --quiet --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
    "build/release/tests/$family/morvik_test_${family##*/}" --gtest_brief=1
done
