#!/usr/bin/env bash
# Installs a build into a scratch folder and uses it as a stranger would: through CMake, shared and
# static, and through pkg-config from C. Usage: scripts/check-package.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "$1")
root=$build/package-check
rm -rf "$root"
cmake --install "$build" --prefix "$root/usr" >/dev/null

cmake -S tests/package/consumer -B "$root/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" \
  -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$root/build" >/dev/null
"$root/build/consumer"
"$root/build/consumer_static"

pc=$(dirname "$(find "$root/usr" -name morvik.pc)")
read -ra flags <<<"$(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs morvik)"
cc -std=c99 -pedantic-errors -Wall -Werror tests/package/consumer/main.c "${flags[@]}" \
  -o "$root/consumer"
LD_LIBRARY_PATH=$(dirname "$pc") "$root/consumer"
