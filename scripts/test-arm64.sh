#!/usr/bin/env bash
# Cross-builds for AArch64, runs the test suite under qemu and compares the digests of results with
# those of this machine. Debian's arm64 packages are unpacked into build/arm64-root; this machine
# gets the compiler and qemu only. Usage: scripts/test-arm64.sh [ctest arguments]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" g++-aarch64-linux-gnu qemu-user
root=$PWD/build/arm64-root

unpack_packages() {
  local state=$root/apt package options
  mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$root/usr/lib"
  : >"$state/status"
  options=(-qq -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State="$state"
    -o Dir::State::status="$state/status" -o Dir::Cache="$state/cache" -o Debug::NoLocking=1)
  apt-get "${options[@]}" update
  apt-get "${options[@]}" install -y --download-only --no-install-recommends \
    libstdc++-12-dev libopencv-core-dev libopencv-imgproc-dev libyuv-dev libeigen3-dev libhwy-dev \
    libcli11-dev libpng-dev libjpeg62-turbo-dev libturbojpeg0-dev libwebp-dev libexif-dev libgtest-dev libbenchmark-dev >/dev/null
  ln -sfn usr/lib "$root/lib"
  for package in "$state"/cache/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$root"
  done
  # Absolute links would lead out of the folder.
  find "$root" -type l -lname '/*' -printf '%p %l\n' | while read -r link target; do
    ln -sfn "$root$target" "$link"
  done
  touch "$root/complete"
}

[[ -e $root/complete ]] || unpack_packages
cmake -S . -B build/arm64 -G Ninja --toolchain cmake/aarch64-linux-gnu.cmake \
  -DMORVIK_SYSROOT="$root" -DCMAKE_BUILD_TYPE=Release -DMORVIK_WERROR=ON >/dev/null
cmake --build build/arm64
ctest --test-dir build/arm64 --output-on-failure -j"$(nproc)" "$@"

cmake --preset release >/dev/null
cmake --build --preset release --target morvik_digest
lib=$root/usr/lib/aarch64-linux-gnu
# libyuv's colour arithmetic and OpenCV's scalers round by the processor; the rest must agree.
ours() { grep -Ev '^(resize |convert NV(12|21) <- (RGB24|ARGB|ABGR))'; }
build/release/tests/robust/morvik_digest >build/digest-here.txt
qemu-aarch64 -L "$root" -E LD_LIBRARY_PATH="$lib/blas:$lib/lapack" \
  build/arm64/tests/robust/morvik_digest >build/digest-arm64.txt
diff <(ours <build/digest-here.txt) <(ours <build/digest-arm64.txt)
echo "$(ours <build/digest-here.txt | wc -l) digests agree"
