# Shared by the scripts: what to install on a fresh Debian machine. Sourced, not run.
build_packages=(
  g++ cmake ninja-build pkg-config
  libopencv-core-dev libopencv-imgproc-dev libyuv-dev libeigen3-dev libhwy-dev
  libcli11-dev libpng-dev libdeflate-dev libjpeg62-turbo-dev libturbojpeg0-dev libwebp-dev libexif-dev
  libgtest-dev libbenchmark-dev
  dpkg-dev file  # for cpack
)

check_packages=(clang-19 libclang-rt-19-dev clang-format-19 clang-tidy-19 abigail-tools git
  binutils python3)

python_packages=(python3 python3-numpy python3-pil python3-distributed python3-fsspec python3-pytest
  python3-hypothesis mypy)

wasm_packages=(cmake ninja-build emscripten nodejs brotli libeigen3-dev dpkg-dev)

studio_packages=(nodejs python3)

# Installs the packages that are missing; needs root (or sudo) only when there are any.
install_packages() {
  local missing=() package sudo=()
  for package in "$@"; do
    dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  ((EUID == 0)) || sudo=(sudo)
  echo "installing: ${missing[*]}" >&2
  "${sudo[@]}" apt-get update -qq >&2
  DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >&2
}

# Debian's arm64 packages, unpacked for cross builds against them.
arm64_root=$PWD/build/arm64-root
arm64_packages=(
  libstdc++-12-dev libopencv-core-dev libopencv-imgproc-dev libyuv-dev libeigen3-dev libhwy-dev
  libcli11-dev libpng-dev libdeflate-dev libjpeg62-turbo-dev libturbojpeg0-dev libwebp-dev libexif-dev
  libgtest-dev libbenchmark-dev
)
unpack_arm64_root() {
  local root=$arm64_root state=$arm64_root/apt package options
  [[ ! -e $root/complete || $(<"$root/complete") != "${arm64_packages[*]}" ]] || return 0
  mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$root/usr/lib"
  : >"$state/status"
  options=(-qq -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State="$state"
    -o Dir::State::status="$state/status" -o Dir::Cache="$state/cache" -o Debug::NoLocking=1)
  apt-get "${options[@]}" update
  apt-get "${options[@]}" install -y --download-only --no-install-recommends \
    "${arm64_packages[@]}" >/dev/null
  ln -sfn usr/lib "$root/lib"
  for package in "$state"/cache/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$root"
  done
  # Absolute links would lead out of the folder.
  find "$root" -type l -lname '/*' -printf '%p %l\n' | while read -r link target; do
    ln -sfn "$root$target" "$link"
  done
  echo "${arm64_packages[*]}" >"$root/complete"
}
