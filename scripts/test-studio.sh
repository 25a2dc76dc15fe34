#!/usr/bin/env bash
# Tests the studio in Chromium, headless, against the native library; screenshots and downloads stay
# in out/studio-test; studio.jpg there is the picture of the README. Arguments are those of node, such as
# --test-name-pattern=camera.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" "${python_packages[@]}" chromium
playwright=1.65.1 # drives the browser
out=$PWD/out/studio-test
runner=$PWD/build/studio-test
scripts/studio.sh --build-only
cmake --preset release >/dev/null
cmake --build --preset release --target morvik >/dev/null
export MORVIK_LIBRARY=$PWD/build/release/libmorvik.so PYTHONPATH=$PWD/bindings/python
export STUDIO=$PWD/out/studio FOLDER=$out NATIVE=$PWD/web/tests/native.py
mkdir -p "$out" "$runner"
[[ -d $runner/node_modules/playwright-core ]] ||
  npm install --prefix "$runner" --silent --no-audit --no-fund "playwright-core@$playwright"
cp web/tests/*.mjs "$runner"
/usr/bin/python3 "$NATIVE" inputs "$out"
node --test --test-reporter=spec "$@" "$runner/studio.test.mjs"
echo "look at the screenshots in $out"
