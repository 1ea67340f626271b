#!/usr/bin/env bash
# Everything that is checked before a change goes in: format, layers, all tests built with gcc, all
# tests built with clang and its sanitizers, the DLL for Visio with its tests under Wine, and a short
# run of the fuzzers. Installs what is
# missing. The last line gives the count over everything.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

jobs=$(nproc)
fuzz_seconds=${OHMWISE_FUZZ_SECONDS:-20}
passed=0 failed=0 skipped=0
logs=build/logs
mkdir -p "$logs"

say() { printf '\n== %s\n' "$*"; }
fail() {  # a step that is no test counts as one failure
  echo "FAILED: $*"
  failed=$((failed + 1))
}
finish() {
  say "Result"
  local line="$passed passed, $failed failed"
  [ "$skipped" -gt 0 ] && line+=", $skipped skipped"
  echo "$line"
  [ "$failed" -eq 0 ]
  exit
}

# number NAME FILE: a count from the head of ctest's report.
number() { grep -m 1 -oE "\b$1=\"[0-9]+\"" "$2" | grep -oE '[0-9]+'; }

# quietly LOG COMMAND…: output only when it fails.
quietly() {
  local log=$logs/$1
  shift
  "$@" >"$log" 2>&1 && return 0
  tail -n 60 "$log"
  return 1
}

build() {  # build PRESET [TARGET]
  quietly "$1-configure.log" cmake --preset "$1" &&
    quietly "$1-build.log" cmake --build --preset "$1" -j "$jobs" -t "${2:-all}"
}

run_tests() {  # run_tests PRESET [COMMAND…]: the tests, run by a command
  local preset=$1 report=$PWD/$logs/$1-tests.xml all bad unrun
  shift
  rm -f "$report"
  "$@" ctest --preset "$preset" -j "$jobs" --output-junit "$report" >"$logs/$preset-tests.log" 2>&1
  if [ ! -s "$report" ]; then
    tail -n 20 "$logs/$preset-tests.log"
    fail "no test could be run ($preset)"
    return
  fi
  all=$(number tests "$report") bad=$(number failures "$report")
  unrun=$(($(number skipped "$report") + $(number disabled "$report")))
  echo "$preset: $((all - bad - unrun)) of $all tests passed"
  if [ "$bad" -gt 0 ]; then grep -E '\*\*\*|^\[  FAILED|Failure$' "$logs/$preset-tests.log" | head -40; fi
  if [ "$unrun" -gt 0 ]; then
    echo "tests not run, by the reason they give:"
    awk '/: Skipped$/ { getline; print }' "$report" | sort | uniq -c
  fi
  if [ "$all" -eq 0 ]; then fail "$preset has no tests"; fi
  passed=$((passed + all - bad - unrun)) failed=$((failed + bad)) skipped=$((skipped + unrun))
}

say "Packages"
install_missing "${build_packages[@]}" "${test_packages[@]}" || { fail "packages"; finish; }
echo "everything needed is installed"
use_ccache

say "Format (clang-format 14) and layers"
git ls-files -z -- '*.cpp' '*.h' |
  quietly format.log xargs -0 -r clang-format-14 --dry-run -Werror || fail "format"
scripts/check_layers.sh || fail "layers"

say "Build and test with gcc"
if build linux; then run_tests linux; else fail "build with gcc"; fi

say "Build and test with clang, address and undefined-behaviour sanitizers"
if build linux-asan; then run_tests linux-asan; else fail "build with sanitizers"; fi

say "Build the DLL for Visio, test it under Wine"
if install_missing "${windows_packages[@]}" && build win32; then
  install_wine || true
  if scripts/with_wine.sh scripts/wine_run.sh cmd /c exit >/dev/null 2>&1; then
    run_tests win32 scripts/with_wine.sh
  elif build win64; then
    echo "32-bit Wine cannot be had here: the same sources as a 64-bit build under 64-bit Wine."
    before=$((passed + failed))
    OHMWISE_WINEARCH=win64 run_tests win64 scripts/with_wine.sh
    skipped=$((skipped + passed + failed - before))  # the same tests with 32 bits
  else
    fail "64-bit build of the DLL"
  fi
else
  fail "build of the DLL"
fi

say "Fuzz targets, $fuzz_seconds s each"
if build linux-fuzz fuzz/all; then
  targets=0
  for target in build/linux-fuzz/fuzz/*; do
    [ -f "$target" ] && [ -x "$target" ] || continue
    targets=$((targets + 1))
    name=$(basename "$target")
    work=build/linux-fuzz/found/$name
    mkdir -p "$work"
    inputs=("$work")
    seeds=fuzz/seeds/${name%_fuzz} dictionary=fuzz/${name%_fuzz}.dict
    [ -d "$seeds" ] && inputs+=("$seeds")
    options=(-max_total_time="$fuzz_seconds" -timeout=20 -rss_limit_mb=3000
             -artifact_prefix="$work/")
    [ -f "$dictionary" ] && options+=(-dict="$dictionary")
    if quietly "$name.log" "$target" "${options[@]}" "${inputs[@]}"; then
      echo "$name: $(grep -oE 'Done [0-9]+ runs' "$logs/$name.log" | tail -1), nothing found"
    else
      fail "fuzz target $name; the input is in $work"
    fi
  done
  [ "$targets" -gt 0 ] || fail "there is no fuzz target"
else
  fail "build of the fuzz targets"
fi

finish
