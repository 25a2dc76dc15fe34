#!/usr/bin/env bash
# Mutation testing: makes one small change at a time in a copy of the sources (a comparison, a sign,
# a constant, an offset by one, a dropped statement), builds it, runs the tests that reach the line,
# the shortest first, and lists the changes that no test noticed. Which tests reach which lines is
# measured first, when sources or tests have changed.
# Usage: scripts/mutate.sh [file...], all of src by default
#   MUTATIONS=n   changes in all, chosen at random; 200 by default, 0 for all there are
#   SEED=n        of that choice; 1 by default
#   JOBS=n        compilers side by side; 1 by default
# Verdicts are kept in build/mutate: an interrupted run goes on where it was.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" clang-19 libclang-rt-19-dev llvm-19 git python3
files=("$@")
((${#files[@]})) || mapfile -t files < <(git ls-files -- 'src/*.cpp' 'src/*.h')
exec python3 scripts/mutate.py --mutations "${MUTATIONS:-200}" --seed "${SEED:-1}" "${files[@]}"
