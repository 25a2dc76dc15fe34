#!/usr/bin/env bash
# Builds the studio, a static page, into out/studio and serves it on this machine.
# Usage: scripts/studio.sh [--build-only] [PORT]
# Any file server can deliver out/studio. Networks come from npm once; the page loads nothing else.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${studio_packages[@]}"
command -v npm >/dev/null || install_packages npm # other packages of node bring their own
out=out/studio
networks=build/networks
versions=(@mediapipe/selfie_segmentation@0.1.1675465747 @mediapipe/face_mesh@0.4.1657299874)

[[ -e $networks/complete && $(<"$networks/complete") == "${versions[*]}" ]] || {
  npm install --prefix "$networks" --silent --no-audit --no-fund --ignore-scripts "${versions[@]}"
  echo "${versions[*]}" >"$networks/complete"
}
scripts/build-wasm.sh
rm -rf "$out"
mkdir -p "$out"/{morvik,networks,samples}
cp web/*.{html,css,js,svg} "$out"
cp build/wasm/package/*.{js,mjs,wasm} build/wasm/package/NOTICES "$out/morvik"
cp -r "$networks"/node_modules/@mediapipe/* "$out/networks"
cp samples/*.jpg samples/photographer.png "$out/samples"
chmod -R u=rwX,go=rX "$out" # npm's files are their owner's only
echo "$PWD/$out: $(du -sh "$out" | cut -f1)"
[[ ${1:-} != --build-only ]] || exit 0

port=${1:-8040}
echo "http://127.0.0.1:$port/"
exec python3 -m http.server --bind 127.0.0.1 --directory "$out" "$port" >/dev/null 2>&1
