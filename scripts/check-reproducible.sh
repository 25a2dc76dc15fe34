#!/usr/bin/env bash
# The same sources give the same libraries, tool and packages, wherever and whenever they are built:
# builds the last commit twice, without ccache and side by side, in folders with names of different
# length, the second time with a clock that runs a year ahead, and compares.
# Usage: scripts/check-reproducible.sh
#   JOBS=n   compilers in all, as many as processors by default; with 1, one build after the other
#   CXXFLAGS and CFLAGS are respected: with -DHWY_COMPILE_ONLY_STATIC, kernels are compiled for one
#   instruction set only, which takes a fifth of the time
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" faketime git
root=$(mktemp -d)
trap 'wait; rm -rf "$root"' EXIT
commit_date=$(git log -1 --format=%ct)
jobs=${JOBS:-$(nproc)}
export CCACHE_DISABLE=1

build() {  # folder, command in front of compilers and linkers
  local source=$root/$1
  mkdir "$source"
  git archive HEAD | tar -x -C "$source"
  cmake -S "$source" -B "$source/out" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMORVIK_BUILD_TESTS=OFF \
    -DCMAKE_C_COMPILER_LAUNCHER="$2" -DCMAKE_CXX_COMPILER_LAUNCHER="$2" \
    -DCMAKE_C_LINKER_LAUNCHER="$2" -DCMAKE_CXX_LINKER_LAUNCHER="$2" \
    -DMORVIK_BUILD_EXAMPLES=OFF >/dev/null
  cmake --build "$source/out" -j $(((jobs + 1) / 2)) >/dev/null
  (cd "$source/out" && SOURCE_DATE_EPOCH=$commit_date ${2//;/ } cpack -G DEB >/dev/null)
  (cd "$source/out" && sha256sum libmorvik.so libmorvik.a tools/morvik ./*.deb) >"$root/$1.sums"
}
build a "" &
((jobs > 1)) || wait $!
build a_folder_with_a_longer_name "faketime;-f;+365d"
wait
diff "$root/a.sums" "$root/a_folder_with_a_longer_name.sums"
cat "$root/a.sums"
echo "both builds gave the same bytes"
