#!/usr/bin/env bash
# Measures the module and its peers, and writes docs/benchmarks.md with its charts: scripts/bench.sh [--report]
#   --report   only writes the document again, from the figures of the last run
# Builds the release preset with the benchmarks, fetches the peers, and runs each program under Wine on one processor, so that
# kernel objects cost the same each time. Needs an otherwise idle machine for about ten minutes.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--report' "$@"
cd "$root"
out=build/bench
data=$out/figures.tsv
mkdir -p "$out"

if [[ -z ${options[--report]:-} ]]; then
  scripts/setup.sh --benchmarks
  scripts/bench-peers.sh
  cmake --preset release -DZQ_BENCHMARKS=ON >/dev/null
  cmake --build --preset release
  # A separate Wine server on the same processor: a switch between processors would cost more than what is measured.
  export ZQ_WINEPREFIX=$root/build/wine-bench
  processor=$(($(nproc) - 1))
  : >"$data"
  for name in Load LoadMemory Map Packet Variables Comfort Save Watch Survey; do
    echo "${name}Benchmark"
    taskset -c "$processor" scripts/wine-run.sh "build/release/bin/${name}Benchmark.exe" | tee "$out/$name.txt" | grep -v '^@' || true
    sed -n 's/^@\t//p' "$out/$name.txt" | tr -d '\r' >>"$data"
  done
  printf 'size\t0\tZQModSettings.dll\t%s\n' "$(stat -c %s build/release/bin/ZQModSettings.dll)" >>"$data"
fi
[[ -s $data ]] || fail "$data is missing; run scripts/bench.sh without --report once."
scripts/bench-report.py "$data"
echo "docs/benchmarks.md and its charts in docs/benchmarks/ are written."
