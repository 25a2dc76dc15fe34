# Shared by the scripts that build the library together with what it is made of: Debian's source
# packages, and how OpenCV is built from them. Sourced after lib.sh, not run.
sources=$PWD/build/sources

# fetch_sources PACKAGE...: Debian's sources with Debian's patches, unpacked where they are missing;
# a list of package sources of our own, as most machines have none for source packages.
fetch_sources() {
  local state=$sources/apt options package updated=
  mkdir -p "$state/lists/partial"
  # Security updates last: they may name files of the archive that their server does not hold.
  apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | sort -ru >"$state/sources.list"
  options=(-qq -o APT::Sandbox::User=root -o Dir::Etc::sourcelist="$state/sources.list"
    -o Dir::Etc::sourceparts=- -o Dir::State::lists="$state/lists")
  for package in "$@"; do
    [[ ! -e $sources/$package/complete ]] || continue
    [[ $updated ]] || apt-get "${options[@]}" update
    updated=yes
    rm -rf "${sources:?}/$package"
    (cd "$sources" && apt-get "${options[@]}" source --download-only "$package" >/dev/null &&
      dpkg-source --no-check -x "${package}"_*.dsc "$package" >/dev/null)
    touch "$sources/$package/complete"
  done
}

# build NAME [cmake arguments]: configures and builds a source package as static code in $out/NAME,
# to be installed to $prefix, with the arguments in $platform and the flags in $sections. Builds
# $target, or everything.
build() {
  local name=$1
  shift
  if ! { cmake -S "$sources/$name" -B "$out/$name" -G Ninja "${platform[@]}" "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
    -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF \
    -DCMAKE_C_FLAGS="$sections -fvisibility=hidden" \
    -DCMAKE_CXX_FLAGS="$sections -fvisibility=hidden -fvisibility-inlines-hidden" "$@" &&
    cmake --build "$out/$name" --target "${target:-all}"; } >"$out/log/$name" 2>&1; then
    tail -n 40 "$out/log/$name" >&2
    exit 1
  fi
}

# build_opencv [cmake arguments]: core and imgproc, nothing optional. -O2, as Debian's package is
# built.
build_opencv() {
  local off=() feature
  for feature in 1394 ADE CAROTENE EIGEN FFMPEG GSTREAMER GTK IPP ITT JASPER JPEG LAPACK OPENCL \
    OPENEXR OPENGL OPENJPEG PNG PROTOBUF QUIRC TBB TIFF V4L WEBP; do
    off+=(-DWITH_$feature=OFF)
  done
  for feature in EXAMPLES JAVA PERF_TESTS TESTS opencv_apps opencv_python3; do
    off+=(-DBUILD_$feature=OFF)
  done
  build opencv -DBUILD_LIST=core,imgproc "${off[@]}" \
    -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
    -DPARALLEL_ENABLE_PLUGINS=OFF -DCV_TRACE=OFF \
    -DENABLE_PRECOMPILED_HEADERS=OFF -DOPENCV_DOWNLOAD_TRIES_LIST= -DBUILD_INFO_SKIP_TIMESTAMP=ON \
    -DOPENCV_LIB_INSTALL_PATH=lib -DOPENCV_INCLUDE_INSTALL_PATH=include/opencv4 "$@"
  cmake --install "$out/opencv" >/dev/null
}

build_highway() {
  build highway -DHWY_ENABLE_TESTS=OFF -DHWY_ENABLE_EXAMPLES=OFF -DHWY_ENABLE_CONTRIB=OFF
  cmake --install "$out/highway" >/dev/null
}

# write_notices NAME FILE...: the licences of what the library NAME contains; FILEs are those of its
# run time.
write_notices() {
  local file
  echo "$1 contains code of the following works, under these terms."
  for file in "$sources"/opencv/{COPYRIGHT,LICENSE} "$sources"/highway/{LICENSE,LICENSE-BSD3} \
    /usr/share/doc/libeigen3-dev/copyright "${@:2}"; do
    [[ -e $file ]] || continue
    printf '\n\n==== %s\n\n' "$(basename "$(dirname "$file")")/$(basename "$file")"
    cat "$file"
  done
}

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
# Functions and data that are never used are left out by the linker.
sections="-ffunction-sections -fdata-sections"
