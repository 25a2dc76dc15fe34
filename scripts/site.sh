#!/usr/bin/env bash
# Builds the site into out/site: first page, studio, guides, gallery, reference, benchmarks. Static
# files; any file server can deliver them. Warnings of Doxygen and broken links are errors.
# Usage: scripts/site.sh [--reference-only]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages doxygen doxygen-awesome-css python3 python3-markdown
out=out/site
mkdir -p "$out"
rm -rf "$out/reference"
doxygen docs/Doxyfile
[[ ${1:-} != --reference-only ]] || exit 0

scripts/studio.sh --build-only
[[ -e out/demo/index.html ]] || scripts/demo.sh
rm -rf "$out"/{studio,demo}
cp -r out/studio "$out/studio"
mkdir "$out/demo"
cp out/demo/index.html "$out/demo"
/usr/bin/python3 scripts/site.py "$out"
echo "look at $PWD/$out/index.html, through a file server: python3 -m http.server -d $out"
