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
cross=() tool=
if [[ $arch != "$(uname -m)" ]]; then
  [[ $arch == aarch64 ]] || { echo "there is no cross build for $arch" >&2; exit 2; }
  install_packages g++-aarch64-linux-gnu qemu-user
  unpack_arm64_root
  cross=(--toolchain "$PWD/cmake/aarch64-linux-gnu.cmake" -DMORVIK_SYSROOT="$arm64_root")
  tool=aarch64-linux-gnu-
fi
work=$PWD/build/self-contained
out=$work/$arch
prefix=$out/static
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
sections="-ffunction-sections -fdata-sections"
mkdir -p "$out/log"

# Debian's sources with Debian's patches; a list of package sources of our own, as most machines
# have none for source packages.
fetch_sources() {
  local state=$work/apt options package
  mkdir -p "$state/lists/partial" "$work/source"
  apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | sort -u >"$state/sources.list"
  options=(-qq -o APT::Sandbox::User=root -o Dir::Etc::sourcelist="$state/sources.list"
    -o Dir::Etc::sourceparts=- -o Dir::State::lists="$state/lists")
  apt-get "${options[@]}" update
  for package in opencv libyuv highway; do
    (cd "$work/source" && apt-get "${options[@]}" source --download-only "$package" >/dev/null &&
      dpkg-source --no-check -x "${package}"_*.dsc "$package" >/dev/null)
  done
  touch "$work/source/complete"
}

# build NAME [cmake arguments]: configures and builds a source package as static code.
build() {
  local name=$1
  shift
  if ! { cmake -S "$work/source/$name" -B "$out/$name" -G Ninja "${cross[@]}" "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
    -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF -DCMAKE_POSITION_INDEPENDENT_CODE=ON \
    -DCMAKE_C_FLAGS="$sections -fvisibility=hidden" \
    -DCMAKE_CXX_FLAGS="$sections -fvisibility=hidden -fvisibility-inlines-hidden" "$@" &&
    cmake --build "$out/$name" --target "${target:-all}"; } >"$out/log/$name" 2>&1; then
    tail -n 40 "$out/log/$name" >&2
    exit 1
  fi
}

build_opencv() {
  local off=() feature processor=()
  for feature in 1394 ADE CAROTENE EIGEN FFMPEG GSTREAMER GTK IPP ITT JASPER JPEG LAPACK OPENCL \
    OPENEXR OPENGL OPENJPEG PNG PROTOBUF QUIRC TBB TIFF V4L WEBP; do
    off+=(-DWITH_$feature=OFF)
  done
  for feature in EXAMPLES JAVA PERF_TESTS TESTS opencv_apps opencv_python3; do
    off+=(-DBUILD_$feature=OFF)
  done
  # What Debian's package requires of the processor, and the faster ones that imgproc has code for.
  [[ $arch == aarch64 ]] ||
    processor=(-DCPU_BASELINE=SSE2 -DCPU_BASELINE_DISABLE=SSE3
      "-DCPU_DISPATCH=SSE4_1;AVX2;AVX512_SKX")
  # -O2, as Debian's package is built.
  build opencv -DBUILD_LIST=core,imgproc "${off[@]}" "${processor[@]}" \
    -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
    -DWITH_PTHREADS_PF=ON -DPARALLEL_ENABLE_PLUGINS=OFF -DCV_TRACE=OFF \
    -DENABLE_PRECOMPILED_HEADERS=OFF -DOPENCV_DOWNLOAD_TRIES_LIST= -DBUILD_INFO_SKIP_TIMESTAMP=ON \
    -DOPENCV_LIB_INSTALL_PATH=lib -DOPENCV_INCLUDE_INSTALL_PATH=include/opencv4
  cmake --install "$out/opencv" >/dev/null
}

# Not part of the library: the tool and the tests use it.
build_libyuv() {
  target=yuv build libyuv -DCMAKE_DISABLE_FIND_PACKAGE_JPEG=ON
  cp "$out/libyuv/libyuv.a" "$prefix/lib"
  cp -r "$work/source/libyuv/include/." "$prefix/include"
}

build_highway() {
  build highway -DHWY_ENABLE_TESTS=OFF -DHWY_ENABLE_EXAMPLES=OFF -DHWY_ENABLE_CONTRIB=OFF
  cmake --install "$out/highway" >/dev/null
}

write_notices() {
  local source=$work/source copyright=/usr/share/doc
  echo "libmorvik.so contains code of the following works, under these terms."
  for file in "$source"/opencv/{COPYRIGHT,LICENSE} "$source"/highway/{LICENSE,LICENSE-BSD3} \
    "$copyright"/libeigen3-dev/copyright "$copyright"/gcc-12-base/copyright; do
    [[ -e $file ]] || continue
    printf '\n\n==== %s\n\n' "$(basename "$(dirname "$file")")/$(basename "$file")"
    cat "$file"
  done
}

# link FOLDER NEEDED [linker flags]: links, strips and checks what the result loads and exports.
link() {
  local library=$1/libmorvik.so needed=$2 found
  shift 2
  cmake -S . -B "$out/morvik" -G Ninja "${cross[@]}" "${launcher[@]}" -DCMAKE_BUILD_TYPE=Release \
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

[[ -e $work/source/complete ]] || fetch_sources
[[ -e $prefix/complete ]] || {
  rm -rf "$prefix"
  build_opencv
  build_libyuv
  build_highway
  touch "$prefix/complete"
}
link "$out/static-runtime" "libc.so.6 libm.so.6" -static-libstdc++ -static-libgcc
link "$out" "libc.so.6 libgcc_s.so.1 libm.so.6 libstdc++.so.6"
cp "$out/morvik/bindings/python/layout.json" "$out"
write_notices >"$out/NOTICES"

if [[ $tests == ON ]]; then
  cmake --build "$out/morvik" >"$out/log/morvik"
  ctest --test-dir "$out/morvik" --output-on-failure -j"$(nproc)"
fi
