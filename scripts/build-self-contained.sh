#!/usr/bin/env bash
# Builds libmorvik.so with everything it is made of inside: OpenCV (core and imgproc) and
# Highway from Debian's source packages. Usage:
#   scripts/build-self-contained.sh [--test] [x86_64|aarch64]
# Results in build/self-contained/ARCH:
#   libmorvik.so                 loads the C and the C++ run time: for C and C++ programs
#   static-runtime/libmorvik.so  loads the C library alone, for hosts in other languages: a C++
#                                program could not catch what this library throws
#   layout.json, NOTICES         how records are laid out; licences of what is inside
# --test builds the test suite on the same static libraries and runs it, the comparison with the
# stored digests included.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
. scripts/dependencies.sh
tests=OFF
arch=$(uname -m)
for argument in "$@"; do
  case $argument in
    --test) tests=ON ;;
    x86_64 | aarch64) arch=$argument ;;
    *) sed -n 2,12p "$0" && exit 2 ;;
  esac
done
install_packages "${build_packages[@]}" zlib1g-dev
platform=(-DCMAKE_POSITION_INDEPENDENT_CODE=ON) tool=
if [[ $arch != "$(uname -m)" ]]; then
  [[ $arch == aarch64 ]] || { echo "there is no cross build for $arch" >&2; exit 2; }
  install_packages g++-aarch64-linux-gnu qemu-user
  unpack_arm64_root
  platform+=(--toolchain "$PWD/cmake/aarch64-linux-gnu.cmake" -DMORVIK_SYSROOT="$arm64_root")
  tool=aarch64-linux-gnu-
fi
work=$PWD/build/self-contained
out=$work/$arch
prefix=$out/static
mkdir -p "$out/log"

# Not part of the library: the tool and the tests use it.
build_libyuv() {
  target=yuv build libyuv -DCMAKE_DISABLE_FIND_PACKAGE_JPEG=ON
  cp "$out/libyuv/libyuv.a" "$prefix/lib"
  cp -r "$sources/libyuv/include/." "$prefix/include"
}

# link FOLDER NEEDED [linker flags]: links, strips and checks what the result loads and exports.
link() {
  local library=$1/libmorvik.so needed=$2 found
  shift 2
  cmake -S . -B "$out/morvik" -G Ninja "${platform[@]}" "${launcher[@]}" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" -DCMAKE_CXX_FLAGS="$sections" \
    -DCMAKE_SHARED_LINKER_FLAGS="-Wl,--gc-sections,--exclude-libs,ALL $*" \
    -DMORVIK_BUILD_TESTS=$tests -DMORVIK_BUILD_TOOLS=$tests -DMORVIK_BUILD_EXAMPLES=$tests >/dev/null
  cmake --build "$out/morvik" --target morvik >"$out/log/morvik"
  mkdir -p "${library%/*}"
  "${tool}strip" -o "$library" "$out/morvik/libmorvik.so"
  scripts/check-exports.sh "$library"
  found=$("${tool}objdump" -p "$library" | awk '/NEEDED/ && !/ld-linux/ { print $2 }' | sort | xargs)
  echo "${library#"$PWD/"}: $(stat -c %s "$library") bytes, loads $found," \
    "$("${tool}objdump" -T "$library" | grep -oE 'GLIBC_[0-9.]+' | sort -uV | tail -n 1) or later"
  [[ $found == "$needed" ]]
  (($(stat -c %s "$library") < 6000000))
}

fetch_sources opencv libyuv highway
[[ -e $prefix/complete ]] || {
  rm -rf "$prefix"
  # What Debian's package requires of the processor, and the faster ones that imgproc has code for.
  processor=()
  [[ $arch == aarch64 ]] ||
    processor=(-DCPU_BASELINE=SSE2 -DCPU_BASELINE_DISABLE=SSE3
      "-DCPU_DISPATCH=SSE4_1;AVX2;AVX512_SKX")
  build_opencv "${processor[@]}" -DWITH_PTHREADS_PF=ON
  build_libyuv
  build_highway
  touch "$prefix/complete"
}
link "$out/static-runtime" "libc.so.6 libm.so.6" -static-libstdc++ -static-libgcc
link "$out" "libc.so.6 libgcc_s.so.1 libm.so.6 libstdc++.so.6"
cp "$out/morvik/bindings/python/layout.json" "$out"
write_notices libmorvik.so /usr/share/doc/gcc-12-base/copyright >"$out/NOTICES"

if [[ $tests == ON ]]; then
  cmake --build "$out/morvik" >"$out/log/morvik"
  ctest --test-dir "$out/morvik" --output-on-failure -j"$(nproc)"
fi
