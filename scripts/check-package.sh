#!/usr/bin/env bash
# Installs a build into a scratch folder and uses it as a stranger would: through CMake and through
# pkg-config from C, shared and static each. Usage: scripts/check-package.sh BUILD_FOLDER
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
export PKG_CONFIG_PATH=$pc LD_LIBRARY_PATH=$(dirname "$pc")
compile=(cc -std=c99 -pedantic-errors -Wall -Werror tests/package/consumer/main.c)
read -ra flags <<<"$(pkg-config --cflags --libs morvik)"
"${compile[@]}" "${flags[@]}" -o "$root/consumer"
"$root/consumer"

# The linker would take the shared library where both are installed.
read -ra flags <<<"$(pkg-config --static --cflags --libs morvik | sed 's/-lmorvik/-l:libmorvik.a/')"
"${compile[@]}" "${flags[@]}" -o "$root/consumer_static"
if readelf -d "$root/consumer_static" | grep libmorvik; then exit 1; fi
"$root/consumer_static"
