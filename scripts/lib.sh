# Shared by the scripts: what to install on a fresh Debian machine. Sourced, not run.
build_packages=(
  g++ cmake ninja-build pkg-config
  libopencv-core-dev libopencv-imgproc-dev libyuv-dev libeigen3-dev libhwy-dev
  libcli11-dev libpng-dev libjpeg62-turbo-dev libturbojpeg0-dev libwebp-dev libexif-dev
  libgtest-dev libbenchmark-dev
  dpkg-dev file  # for cpack
)

check_packages=(clang-19 libclang-rt-19-dev clang-format-19 clang-tidy-19 abigail-tools git
  binutils python3)

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
