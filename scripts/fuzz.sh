#!/usr/bin/env bash
# Runs the fuzz targets over their kept corpus and beyond: scripts/fuzz.sh [--runs N | SECONDS] [TARGET...]
# SECONDS for each target, 2 without; or N inputs beyond the corpus, which is the same on every machine. A TARGET is
# check, edit, hmdlist, loader, packet, quality, reader or settings; all without. Ends with 1 when one has found something.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--runs= 0..9' "$@"
require_number --runs "${options[--runs]:-}"
all=(check edit hmdlist loader packet quality reader settings)
limit=(-max_total_time=2)
[[ -z ${options[--runs]:-} ]] || limit=(-runs="${options[--runs]}")
targets=()
for argument in "${arguments[@]}"; do
  if [[ $argument =~ ^[0-9]+$ ]]; then
    limit=(-max_total_time="$argument")
  elif [[ " ${all[*]} " == *" $argument "* ]]; then
    targets+=("$argument")
  else
    fail "there is no target $argument; see fuzz.sh --help." 2
  fi
done
[[ ${#targets[@]} -gt 0 ]] || targets=("${all[@]}")

"$root/scripts/setup.sh"
cd "$root"
build native --target fuzz_targets

# run_target TARGET: its output goes to a log; one line says how it went.
run_target() {
  local target=$1 log=build/logs/fuzz-$1.log kept=tests/fuzz/corpus/$1 found=build/native/corpus/$1 dictionary=()
  mkdir -p "$found" build/native/findings
  [[ $target == packet ]] || dictionary=(-dict=tests/fuzz/json.dict)
  if ! "build/native/bin/${target}_fuzz" -seed=1 -max_len=4096 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="build/native/findings/$target-" "${limit[@]}" "${dictionary[@]}" "$found" "$kept" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "$script: $target found something; its input is in build/native/findings. Run it by itself with" >&2
    echo "         build/native/bin/${target}_fuzz build/native/findings/$target-..." >&2
    return 1
  fi
  printf '%-9s ok, inputs: %s\n' "$target" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
}

failed=0
for target in "${targets[@]}"; do
  run_target "$target" || failed=1
done
exit $failed
