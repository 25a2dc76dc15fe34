#!/usr/bin/env bash
# Builds the package for browsers (scripts/build-wasm.sh) and tests it with node: the package installed
# in a fresh project, its results against the native library's, its types, the stored digests.
# Usage: scripts/test-wasm.sh [--no-digests]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" "${wasm_packages[@]}" "${python_packages[@]}" googletest
unset MORVIK_LIBRARY PYTHONPATH
out=$PWD/build/wasm
project=$out/project # a fresh one that has the package installed
typescript=5.9.3
scripts/build-wasm.sh
cmake --preset release >/dev/null
cmake --build --preset release --target morvik >/dev/null

compare_digests() {
  local list=tests/robust/digests.txt
  NODE_PATH=/usr/share/nodejs cmake --build "$out/morvik" --target morvik_web_digest >"$out/log/digest"
  # Emscripten's loader takes a fetch() for a browser's.
  node -e 'delete globalThis.fetch; require(process.argv[1])' \
    "$out/morvik/bindings/web/morvik_web_digest.cjs" >"$out/digests.txt"
  diff "$list" "$out/digests.txt" || {
    echo "of $(wc -l <"$list") digests $(diff "$list" "$out/digests.txt" | grep -c '^>') differ" >&2
    return 1
  }
  echo "$(wc -l <"$list") digests agree"
}

test_package() {
  rm -rf "$project"
  mkdir -p "$project/expected"
  echo '{ "type": "module", "private": true }' >"$project/package.json"
  (cd "$project" && npm install --silent --no-audit --no-fund "$out"/morvik-*.tgz "typescript@$typescript")
  cp bindings/web/tests/* "$project"
  MORVIK_LIBRARY=$PWD/build/release/libmorvik.so PYTHONPATH=$PWD/bindings/python \
    /usr/bin/python3 bindings/web/tests/expected.py "$project/expected"
  (cd "$project" && npx tsc --strict --noEmit --target es2022 --module nodenext types.ts &&
    MORVIK_EXPECTED=$project/expected node --test --test-reporter=dot .)
}

test_package
[[ ${1:-} == --no-digests ]] || compare_digests
