#!/usr/bin/env bash
# Builds the Debian packages, installs them into a clean bookworm root and uses them there: a
# consumer through CMake and pkg-config, and the command-line tool. Needs root; not part of
# CI, as it downloads a Debian base system. Usage: scripts/check-deb.sh [ROOT]
# ROOT, when it exists, is taken as a clean root and is changed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" debootstrap
root=${1:-$(mktemp -d)}
[ -d "$root/etc" ] || debootstrap --variant=minbase bookworm "$root"
[ -s "$root/etc/apt/sources.list" ] || cp /etc/apt/sources.list.d/* "$root/etc/apt/sources.list.d/"

cmake --preset release >/dev/null
cmake --build --preset release
(cd build/release && rm -f ./*.deb && cpack -G DEB >/dev/null)
mkdir -p "$root/tmp/morvik"
cp build/release/*.deb "$root/tmp/morvik"
cp -r tests/package/consumer samples "$root/tmp/morvik"

mount --bind /proc "$root/proc"
trap 'umount "$root/proc"' EXIT
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin chroot "$root" bash -euo pipefail <<'EOF2'
export DEBIAN_FRONTEND=noninteractive
cd /tmp/morvik
apt-get update -qq
apt-get install -y -qq --no-install-recommends ./*.deb >/dev/null
morvik info
morvik bbox samples/photographer_mask_256x256.png
apt-get install -y -qq --no-install-recommends gcc libc6-dev pkg-config >/dev/null
cc -std=c99 consumer/main.c $(pkg-config --cflags --libs morvik) -o by-pkg-config
./by-pkg-config
# The static library needs what the library is made of.
apt-get install -y -qq --no-install-recommends g++ cmake ninja-build \
  libopencv-imgproc-dev libhwy-dev >/dev/null
cmake -S consumer -B by-cmake -G Ninja >/dev/null
cmake --build by-cmake >/dev/null
by-cmake/consumer
by-cmake/consumer_static
cc -std=c99 consumer/main.c \
  $(pkg-config --static --cflags --libs morvik | sed 's/-lmorvik/-l:libmorvik.a/') -o by-pkg-config
./by-pkg-config
EOF2
echo "packages install on a clean root and can be used"
