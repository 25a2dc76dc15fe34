#!/usr/bin/env bash
# Builds the fuzz targets and runs each from its kept inputs (fuzz/corpus). What a run finds anew
# stays in out/fuzz; findings are written there and end the script with an error.
# Usage: scripts/fuzz.sh [seconds for each target, 60 by default] [target...]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" clang-19 libclang-rt-19-dev
seconds=${1:-60}
shift || true
[[ -d /dev/shm ]] && export TMPDIR=/dev/shm  # landmark files
cmake --preset fuzz >/dev/null
targets=("$@")
((${#targets[@]})) || targets=($(sed -n 's/.*morvik_fuzz_\([a-z]*\)\.dir.*/\1/p' \
  build/fuzz/compile_commands.json | sort -u))
cmake --build --preset fuzz --target "${targets[@]/#/morvik_fuzz_}"
for target in "${targets[@]}"; do
  mkdir -p "out/fuzz/$target" "fuzz/corpus/$target"
  build/fuzz/fuzz/morvik_fuzz_"$target" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=4096 \
    -max_len=2048 -print_final_stats=1 -artifact_prefix="out/fuzz/$target-" \
    "out/fuzz/$target" "fuzz/corpus/$target" >"out/fuzz/$target.log" 2>&1 ||
    { tail -n 60 "out/fuzz/$target.log"; exit 1; }
  echo "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "out/fuzz/$target.log") executions"
done
