#!/usr/bin/env bash
# Mutation testing: makes one small change at a time in a copy of the sources (a comparison, a sign,
# a constant, an offset by one, a dropped statement), builds it, runs the tests and lists the changes
# that no test noticed. Usage: scripts/mutate.sh [file...], all of src by default
#   MUTATIONS=n   changes per file, chosen at random; 3 by default, 0 for all
#   SEED=n        of that choice; 1 by default
#   JOBS=n        copies of the tree that are worked on side by side; 1 by default
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" git python3
files=("$@")
((${#files[@]})) || mapfile -t files < <(git ls-files -- 'src/*.cpp' 'src/*.h')
exec python3 scripts/mutate.py --mutations "${MUTATIONS:-3}" --seed "${SEED:-1}" \
  --jobs "${JOBS:-1}" "${files[@]}"
