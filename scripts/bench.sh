#!/usr/bin/env bash
# Builds the benchmarks and prints peer time / Morvik's time for every operation. Contestants of a
# comparison run interleaved in one process. Usage: scripts/bench.sh [regular expression]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" python3
cmake --preset release >/dev/null
cmake --build --preset release
mkdir -p out/bench
for program in build/release/bench/morvik_bench_*; do
  name=out/bench/$(basename "$program").json
  "$program" --benchmark_filter="${1:-.}" --benchmark_enable_random_interleaving=true \
    --benchmark_repetitions="${REPETITIONS:-9}" --benchmark_min_time="${MIN_TIME:-0.02}" \
    --benchmark_report_aggregates_only=true --benchmark_out="$name" --benchmark_out_format=json \
    >/dev/null
done
python3 bench/table.py out/bench/*.json
