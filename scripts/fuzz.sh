#!/usr/bin/env bash
# Builds the fuzz targets and runs them side by side on the processor's cores, each from its kept inputs
# (fuzz/corpus) and those that earlier runs found (out/fuzz), where findings are written, too; these
# end the script with an error, in later runs as well until they are mended or deleted.
# Usage: scripts/fuzz.sh [--write] [seconds for each target, 60 by default] [target...]
#        scripts/fuzz.sh --minimise   replaces the kept inputs by few that reach the same code
# --write brings the table in docs/reliability.md up to date: executions with the code as it is,
# those of earlier runs included.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" clang-19 libclang-rt-19-dev git
action=run
case ${1:-} in --write | --minimise) action=${1#--} && shift ;; esac
seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "not a number of seconds: $seconds" >&2; exit 2; }
shift || true
[[ -d /dev/shm ]] && export TMPDIR=/dev/shm  # landmark files
# Faster. The tests look for uses of a stack after its function; what is found is run again without
# these options for the stack of an allocation.
ASAN_OPTIONS=detect_stack_use_after_return=0:malloc_context_size=0
# Freed memory comes back while it is in the caches; what is used after free() is used soon after.
export ASAN_OPTIONS+=:quarantine_size_mb=1:thread_local_quarantine_size_kb=64
cmake --preset fuzz >/dev/null
targets=("$@")
((${#targets[@]})) || targets=($(sed -n 's/.*morvik_fuzz_\([a-z]*\)\.dir.*/\1/p' \
  build/fuzz/compile_commands.json | sort -u))
cmake --build --preset fuzz --target "${targets[@]/#/morvik_fuzz_}"

# Executions count for the code that they tried, as it is now: the library's or that of the readers.
state_of() { git ls-files -- "$@" | xargs cat | sha1sum | cut -c -12; }
state_of_operations=$(state_of src include)
state_of_pictures=$(state_of tools/pictures src/core/format.h include)
counts_of() {
  local state=$state_of_operations
  [[ $1 != pictures ]] || state=$state_of_pictures
  echo "out/fuzz/$1.$state.executions"
}

# A JPEG's tables, a profile and a file of landmarks are longer than what the operations need, whose
# kept inputs have 25 bytes on average.
longest() {
  case $1 in pictures) echo 4096 ;; face) echo 2048 ;; *) echo 256 ;; esac
}

minimise() {
  local target=$1
  rm -rf "out/fuzz/$target.merged" && mkdir -p "out/fuzz/$target.merged"
  build/fuzz/fuzz/morvik_fuzz_"$target" -set_cover_merge=1 -use_counters=0 -max_len="$(longest "$target")" \
    "out/fuzz/$target.merged" "out/fuzz/$target" "fuzz/corpus/$target" >"out/fuzz/$target.log" 2>&1
  rm -rf "fuzz/corpus/$target" && cp -r "out/fuzz/$target.merged" "fuzz/corpus/$target"
  echo "$target: $(ls "fuzz/corpus/$target" | wc -l) inputs"
}

fuzz() {  # target, options and inputs
  build/fuzz/fuzz/morvik_fuzz_"$1" -timeout=25 -rss_limit_mb=4096 -max_len="$(longest "$1")" \
    -entropic=0 -reload=0 -print_final_stats=1 -artifact_prefix="out/fuzz/$1-" "${@:2}" \
    >"out/fuzz/$1.log" 2>&1
}

# With a finding, of this run or an earlier one, no execution counts.
run() {
  local target=$1 count counts findings
  counts=$(counts_of "$target")
  mapfile -t findings < <(compgen -G "out/fuzz/$target-*")
  if { ((${#findings[@]})) && ! fuzz "$target" "${findings[@]}"; } ||
    ! fuzz "$target" -max_total_time="$seconds" "out/fuzz/$target" "fuzz/corpus/$target"; then
    tail -n 60 "out/fuzz/$target.log"
    rm -f "$counts"
    return 1
  fi
  count=$(sed -n 's/^stat::number_of_executed_units: *//p' "out/fuzz/$target.log")
  echo $(($(cat "$counts" 2>/dev/null || echo 0) + count)) >"$counts"
  echo "$target: $count executions, $(sed -n 's/^stat::average_exec_per_sec: *//p' \
    "out/fuzz/$target.log") a second, $(<"$counts") with these sources"
}

export -f run fuzz minimise longest counts_of
export seconds state_of_operations state_of_pictures
for target in "${targets[@]}"; do mkdir -p "out/fuzz/$target" "fuzz/corpus/$target"; done
if [[ $action == minimise ]]; then
  printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -euc 'minimise {}'
  exit
fi
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -euc 'run {}'
[[ $action == write ]] || exit 0
for target in "${targets[@]}"; do
  count=$(sed ':a;s/\B[0-9]\{3\}\>/,&/;ta' "$(counts_of "$target")")
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "out/fuzz/$target.log")
  sed -i "s/^| $target |.*/| $target | $count | $speed |/" docs/reliability.md
done
