#!/usr/bin/env bash
# Builds the benchmarks and runs them, each beside the peer it is compared with. Installs what is
# missing. Nothing is asserted: the figures are for reading, the ratios for quoting.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

install_missing "${build_packages[@]}" "${bench_packages[@]}"
use_ccache
mkdir -p build/logs
if ! { cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DOHMWISE_TESTS=OFF \
         -DOHMWISE_BENCH=ON && cmake --build build/bench -j "$(nproc)"; } >build/logs/bench.log 2>&1; then
  tail -n 40 build/logs/bench.log >&2
  echo "The build failed." >&2
  exit 1
fi
nproc | sed 's/$/ cores/'
for bench in netcomp collection package index recalc; do
  printf '\n== %s\n' "$bench"
  "build/bench/bench/${bench}_bench" --benchmark_min_time="${OHMWISE_BENCH_SECONDS:-0.5}" 2>/dev/null
done
