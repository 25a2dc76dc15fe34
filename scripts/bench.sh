#!/usr/bin/env bash
# Builds the benchmarks and compares every operation with its peers: peer time / Morvik's time.
#   scripts/bench.sh [regular expression]   prints the comparisons whose name matches
#   scripts/bench.sh --write                runs all, writes docs/benchmarks.md and README's table
# The contestants of a comparison run interleaved in one process, on one thread both (THREADS=n for
# others; --write measures with all cores, too); each figure is the median of REPETITIONS runs
# (default 9) of at least MIN_TIME seconds (default 0.02).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" python3 python3-numpy python3-opencv
cmake --preset release >/dev/null
cmake --build --preset release >&2

filter=${1:-.}
[ "$filter" != --write ] || filter=.
families=(frame plain mask outline face)
rm -rf out/bench

measure() {  # threads, folder
  mkdir -p "$2"
  for family in "${families[@]}"; do
    program=build/release/bench/morvik_bench_$family
    [ -n "$("$program" --benchmark_list_tests --benchmark_filter="$filter" 2>&1 |
      grep -F '|')" ] || continue
    OPENCV_FOR_THREADS_NUM=$1 "$program" --benchmark_filter="$filter|^memory floor" \
      --benchmark_enable_random_interleaving=true \
      --benchmark_repetitions="${REPETITIONS:-9}" --benchmark_min_time="${MIN_TIME:-0.02}" \
      --benchmark_report_aggregates_only=true \
      --benchmark_out="$2/$family".json --benchmark_out_format=json >/dev/null 2>&1
  done
}
measure "${THREADS:-1}" out/bench

if [ "${1:-}" != --write ]; then
  python3 bench/table.py out/bench/*.json
  exit
fi

REPETITIONS=${REPETITIONS:-3} measure "$(nproc)" out/bench/all
version() { dpkg-query -W -f='${Version}' "$1"; }
{
  cat <<EOF2
# Benchmarks

Written by \`scripts/bench.sh --write\` on $(date -u +%Y-%m-%d):
$(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores, Debian $(cat /etc/debian_version),
GCC $(gcc -dumpfullversion), OpenCV $(version libopencv-core-dev), libyuv $(version libyuv-dev),
Eigen $(version libeigen3-dev), Highway $(version libhwy-dev).

A ratio is the peer's time divided by Morvik's, both measured interleaved in one process; times are
medians. "As written" is the plain chain of OpenCV calls that defines the result; its bytes are the
same. The floor is a memcpy of what must be read and written (memset, or a sum, for what is only
written or read), measured in the same run. The peak is what one call holds on the heap at most.
Calls of libyuv and OpenCV are made on the same memory, on one thread; "all cores" is the ratio where
OpenCV's pool may spread work over all cores on both sides. The machine is shared, so a ratio within a few per cent of 1 means "the same".
EOF2
  for family in "${families[@]}"; do
    printf '\n## %s\n\n' "${family^}"
    python3 bench/table.py --all-cores out/bench/all out/bench/"$family".json
  done
  cat <<'EOF2'

## Growth

What a pixel costs at 4032x3024, where images leave the caches, for each that it costs at 1920x1080.

EOF2
  python3 bench/table.py --growth out/bench/{frame,plain,mask,outline}.json
  cat <<'EOF2'

## Python

The package beside cv2, calls that give the same bytes, in pictures of 1920x1080 on one thread; the least of 15 rounds
each. Both sides make a new array for every result.

EOF2
  PYTHONPATH=bindings/python MORVIK_LIBRARY=build/release/libmorvik.so /usr/bin/python3 bench/python.py
  cat <<'EOF2'

## Worst cases

Against the calls that define a result: noise, specks, checkerboards, gradients, soft masks, combs are among the rows of
the tables above. Where the operation is the plain call (small kernels of morphology on what is not flat) a ratio beside 1
is the noise of the machine.

EOF2
  python3 bench/table.py --worst 15 out/bench/{mask,outline}.json
} >docs/benchmarks.md

highlights='(a camera frame.*|turn 90 .*|GRAY <- RGB24|NV21 <- RGB24|bounding box, photographer'
highlights+='|mask smooth, hopper, limit (640|1024), snapping|fill holes, photographer'
highlights+='|morphology, photographer, amount (8|50|200)|median of hopper, kernel 25'
highlights+='|outline, hopper, mode [036], expand 12, smooth 3)\|1920x1080'
highlights+='|outline, noise.*\|1024x1024|forehead.*'
table=$(mktemp)
python3 bench/table.py --highlights "$highlights" out/bench/{frame,plain,mask,outline,face}.json >"$table"
sed -i -e "/^<!-- benchmarks -->/,/^<!-- end of benchmarks -->/{//!d}" \
  -e "/^<!-- benchmarks -->/r $table" README.md
rm "$table"
