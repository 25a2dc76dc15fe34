#!/usr/bin/env bash
# Builds the library for browsers with Debian's emscripten, and the npm package around it:
#   build/wasm/package/            the package's files: morvik.js, morvik.wasm, loader.mjs, ...
#   build/wasm/morvik-VERSION.tgz  what npm installs
# OpenCV (core and imgproc), Highway and zlib come from Debian's source packages, as in
# build-self-contained.sh. The first build takes minutes, later ones build what changed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
. scripts/dependencies.sh
install_packages "${wasm_packages[@]}"
export NODE_PATH=/usr/share/nodejs # of emscripten's own scripts
emscripten=/usr/share/emscripten
out=$PWD/build/wasm
prefix=$out/static
package=$out/package
sections+=" -msimd128 -ffile-prefix-map=$PWD=."
platform=(--toolchain "$emscripten/cmake/Modules/Platform/Emscripten.cmake"
  -DCMAKE_FIND_ROOT_PATH="$prefix" -DCMAKE_EXE_LINKER_FLAGS=-O1)
most_bytes=450000 # of morvik.wasm as brotli
mkdir -p "$out/log"

command -v npm >/dev/null || install_packages npm # part of other packages of nodejs

# Its own build asks for shared libraries, which there are none of. OpenCV's file storage needs it
# to be linked; what of it is never called is left out.
build_zlib() {
  mkdir -p "$out/zlib" "$prefix/lib" "$prefix/include"
  (cd "$out/zlib" && emcc -O2 $sections -DHAVE_UNISTD_H -c "$sources"/zlib/*.c &&
    emar rcs "$prefix/lib/libz.a" ./*.o) >"$out/log/zlib" 2>&1 || {
    tail -n 40 "$out/log/zlib" >&2
    exit 1
  }
  cp "$sources"/zlib/z{lib,conf}.h "$prefix/include"
}

# Highway looks bytes up one at a time, for browsers of before April 2021 in which the instruction
# was faulty. Whatever handles pixels of 3 bytes lives on it.
use_byte_lookup() {
  local header=$prefix/include/hwy/ops/wasm_128-inl.h
  sed -i '/^#if 0$/{N;s/^#if 0\(\n.*wasm_i8x16_swizzle\)/#if 1\1/}' "$header"
  grep -B 1 'return.*wasm_i8x16_swizzle' "$header" | grep -q '^#if 1$'
}

build_morvik() {
  cmake -S . -B "$out/morvik" -G Ninja "${platform[@]}" "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" \
    -DEigen3_DIR=/usr/share/eigen3/cmake -DCMAKE_CXX_FLAGS="$sections" \
    -DMORVIK_WERROR=OFF -DMORVIK_BUILD_TESTS=OFF \
    -DMORVIK_BUILD_TOOLS=OFF -DMORVIK_BUILD_EXAMPLES=OFF >"$out/log/morvik"
  cmake --build "$out/morvik" --target morvik_web >>"$out/log/morvik" || {
    tail -n 40 "$out/log/morvik" >&2
    return 1
  }
}

make_package() {
  local built=$out/morvik/bindings/web
  rm -rf "$package" "$out"/*.tgz
  mkdir -p "$package"
  cp bindings/web/*.js bindings/web/*.d.ts bindings/web/{package.json,README.md} "$package"
  cp "$built/loader.mjs" "$package"
  cp "$built/loader.wasm" "$package/morvik.wasm"
  write_notices morvik.wasm "$emscripten"/system/lib/libc/musl/COPYRIGHT \
    /usr/share/doc/emscripten/copyright >"$package/NOTICES"
  (cd "$package" && npm pack --silent --pack-destination "$out" >/dev/null)
}

fetch_sources opencv highway zlib
[[ -e $prefix/complete ]] || {
  rm -rf "$prefix"
  build_zlib
  build_opencv -DCPU_BASELINE= -DCPU_DISPATCH= -DCV_ENABLE_INTRINSICS=ON -DWITH_PTHREADS_PF=OFF \
    -DENABLE_PIC=OFF \
    -DZLIB_LIBRARY="$prefix/lib/libz.a" -DZLIB_INCLUDE_DIR="$prefix/include"
  build_highway
  use_byte_lookup
  touch "$prefix/complete"
}
build_morvik
make_package
size=$(brotli --stdout --best "$package/morvik.wasm" | wc -c)
echo "morvik.wasm: $(stat -c %s "$package/morvik.wasm") bytes, $size as brotli;" \
  "package: $(cd "$out" && stat -c '%n, %s bytes' morvik-*.tgz)"
((size <= most_bytes))
