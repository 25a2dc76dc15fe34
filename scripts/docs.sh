#!/usr/bin/env bash
# Makes the API reference from the header: out/docs/html/index.html. Any warning is an error.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages doxygen
mkdir -p out/docs
doxygen docs/Doxyfile
echo "Look at $PWD/out/docs/html/index.html"
