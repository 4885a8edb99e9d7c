#!/usr/bin/env bash
# Runs the fuzz targets over their kept corpus and beyond: scripts/fuzz.sh [--runs N | SECONDS] [TARGET...]
# SECONDS for each target, 2 without; or N inputs beyond the corpus, which is the same on every machine. A TARGET is
# check, edit, hmdlist, loader, packet, quality, reader or settings; all without. Ends with 1 at the first finding.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
all=(check edit hmdlist loader packet quality reader settings)
limit=(-max_total_time=2)
targets=()
while [[ $# -gt 0 ]]; do
  case $1 in
    --help)
      sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"
      exit 0
      ;;
    --runs)
      limit=(-runs="$2")
      shift
      ;;
    [0-9]*) limit=(-max_total_time="$1") ;;
    *)
      [[ " ${all[*]} " == *" $1 "* ]] || {
        echo "fuzz.sh: there is no target $1; --help lists them." >&2
        exit 2
      }
      targets+=("$1")
      ;;
  esac
  shift
done
[[ ${#targets[@]} -gt 0 ]] || targets=("${all[@]}")

"$root/scripts/setup.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake --preset fuzz && cmake --build --preset fuzz --target fuzz_targets -j "$(nproc)"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  echo "fuzz.sh: the targets do not build." >&2
  exit 1
fi

for target in "${targets[@]}"; do
  kept=tests/fuzz/corpus/$target
  found=build/fuzz/corpus/$target
  mkdir -p "$found" "build/fuzz/findings"
  dictionary=()
  [[ $target == packet ]] || dictionary=(-dict=tests/fuzz/json.dict)
  printf '%-9s' "$target"
  if ! "build/fuzz/bin/${target}_fuzz" -seed=1 -max_len=4096 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="build/fuzz/findings/$target-" "${limit[@]}" "${dictionary[@]}" "$found" "$kept" >"$log" 2>&1; then
    echo "FAILED"
    tail -n 40 "$log" >&2
    echo "fuzz.sh: $target found something; the input lies in build/fuzz/findings. Run it alone with" >&2
    echo "         build/fuzz/bin/${target}_fuzz build/fuzz/findings/$target-..." >&2
    exit 1
  fi
  sed -n 's/^stat::number_of_executed_units: */ok, inputs: /p' "$log"
done
