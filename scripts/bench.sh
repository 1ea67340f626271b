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
for bench in netcomp collection package index recalc database; do
  printf '\n== %s\n' "$bench"
  "build/bench/bench/${bench}_bench" --benchmark_filter='-^GetComponent' \
    --benchmark_min_time="${OHMWISE_BENCH_SECONDS:-0.5}" 2>/dev/null
done

# One row by its key takes microseconds: taking turns, and the median of both, keep the machine out.
printf '\n== database, one row by its key\n'
build/bench/bench/database_bench --benchmark_filter='^GetComponent' --benchmark_min_time=0.4 \
  --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true 2>/dev/null

# The rows of a label beside the same formulas in a spreadsheet engine.
printf '\n== labels\n'
build/bench/bench/labels_bench --benchmark_min_time="${OHMWISE_BENCH_SECONDS:-0.5}" \
  --benchmark_out=build/logs/labels.json 2>/dev/null
peer=build/bench/hyperformula
if ! command -v npm >/dev/null || ! command -v node >/dev/null; then
  echo "HyperFormula is left out: npm and node are not installed."
elif ! { mkdir -p "$peer" && cp bench/hyperformula/* "$peer"/ &&
         npm ci --prefix "$peer" --no-audit --no-fund; } >build/logs/npm.log 2>&1; then
  echo "HyperFormula is left out: npm could not fetch it (build/logs/npm.log says why)."
else
  node "$peer/labels.mjs" build/logs/labels.json
fi

# Calls over the automation border, by a compiled client and by a script, both under Wine.
printf '\n== border\n'
if ! { install_missing "${windows_packages[@]}" && install_wine; }; then
  echo "The border is left out: 32-bit Wine cannot be had here."
elif ! { cmake -S . -B build/bench-win32 -G Ninja -DCMAKE_BUILD_TYPE=Release \
           -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/i686-w64-mingw32.cmake" -DOHMWISE_TESTS=OFF \
           -DOHMWISE_BENCH=ON && cmake --build build/bench-win32 -j "$(nproc)"; } \
         >build/logs/bench-win32.log 2>&1; then
  tail -n 40 build/logs/bench-win32.log >&2
  echo "The build failed." >&2
  exit 1
else
  dll=$PWD/build/bench-win32/platform/com/server/Ohmwise6.dll
  scripts/with_wine.sh scripts/wine_run.sh build/bench-win32/bench/com/border_bench.exe "$dll"
  scripts/with_wine.sh tests/com/server/run_script.sh "$dll" "$PWD/bench/com/border_bench.vbs"
fi

# A bill of materials beside libxlsxwriter alone and beside ExcelJS; reports about many drawings.
printf '\n== export\n'
build/bench/bench/export_bench --benchmark_min_time="${OHMWISE_BENCH_SECONDS:-0.5}" \
  --benchmark_out=build/logs/export.json 2>/dev/null
peer=build/bench/exceljs
if ! command -v npm >/dev/null || ! command -v node >/dev/null; then
  echo "ExcelJS is left out: npm and node are not installed."
elif ! { mkdir -p "$peer" && cp bench/exceljs/* "$peer"/ &&
         npm ci --prefix "$peer" --no-audit --no-fund; } >build/logs/npm.log 2>&1; then
  echo "ExcelJS is left out: npm could not fetch it (build/logs/npm.log says why)."
else
  node "$peer/bill.mjs" build/logs/export.json "$peer/bill.xlsx"
fi
printf '\n== report\n'
build/bench/bench/report_bench --benchmark_min_time="${OHMWISE_BENCH_SECONDS:-0.5}" 2>/dev/null
