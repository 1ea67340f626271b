#!/usr/bin/env bash
# Installs what is missing, builds, runs every test and ends with the count.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

ensure_packages "${build_packages[@]}" "${test_packages[@]}"
export CCACHE_DIR="${CCACHE_DIR:-$PWD/build/ccache}"
jobs=$(nproc)
passed=0
failed=0
skipped=0
log=$(mktemp -d)
trap 'rm -rf "$log"' EXIT

step() { printf '\n== %s\n' "$*"; }

# check NAME COMMAND…: one pass or failure by exit code.
check() {
  local name=$1
  shift
  step "$name"
  if "$@"; then passed=$((passed + 1)); else
    failed=$((failed + 1))
    echo "FAILED: $name"
  fi
}

build() {  # build PRESET
  cmake --preset "$1" >"$log/configure" || { cat "$log/configure"; return 1; }
  cmake --build "build/$1" -j "$jobs" >"$log/build" || { tail -n 60 "$log/build"; return 1; }
}

# suite PRESET: builds, runs ctest, adds its counts.
suite() {
  step "Build and test: $1"
  if ! build "$1"; then
    failed=$((failed + 1))
    echo "FAILED: build of $1"
    return
  fi
  ctest --test-dir "build/$1" -j "$jobs" --output-on-failure --output-junit "$log/$1.xml" \
    --timeout 600 >"$log/$1.log" 2>&1 || true
  grep -E '\*\*\*(Failed|Timeout|Exception|Not Run)|Skipped' "$log/$1.log" | sort -u | head -n 40 || true
  if ! [ -s "$log/$1.xml" ]; then
    tail -n 40 "$log/$1.log"
    failed=$((failed + 1))
    return
  fi
  local tests bad skip
  tests=$(grep -o 'tests="[0-9]*"' "$log/$1.xml" | head -n 1 | tr -dc 0-9)
  bad=$(grep -o 'failures="[0-9]*"' "$log/$1.xml" | head -n 1 | tr -dc 0-9)
  skip=$(grep -o 'skipped="[0-9]*"' "$log/$1.xml" | head -n 1 | tr -dc 0-9)
  [ "$bad" -eq 0 ] || grep -vE '^ *[0-9]+/[0-9]+ Test|Start +[0-9]+' "$log/$1.log" | tail -n 150
  echo "$1: $tests tests, $bad failed, $skip skipped"
  passed=$((passed + tests - bad - skip))
  failed=$((failed + bad))
  skipped=$((skipped + skip))
}

fuzz() {  # fuzz TARGET SEEDS: twenty seconds on what the repository knows and what it finds
  local work="$log/$1"
  mkdir -p "$work"
  local dict=()
  [ -f "fuzz/${1%_fuzz}.dict" ] && dict=("-dict=fuzz/${1%_fuzz}.dict")
  (cd "$work" && "$OLDPWD/build/linux-fuzz/fuzz/$1" "${dict[@]/#-dict=/-dict=$OLDPWD/}" -max_total_time=20 -timeout=20 -rss_limit_mb=4096 \
    -print_final_stats=1 "$work" "$OLDPWD/$2") >"$log/$1.log" 2>&1 || { tail -n 40 "$log/$1.log"; return 1; }
  grep -E 'number_of_executed_units' "$log/$1.log"
}

check "Format" scripts/check_format.sh
check "Layers" scripts/check_layers.sh
suite linux
suite linux-asan
step "Fuzz targets"
if build linux-fuzz; then
  check "Fuzz: formula parser" fuzz formula_fuzz fuzz/seeds/formula
  check "Fuzz: package reader" fuzz package_fuzz fuzz/seeds/package
else
  failed=$((failed + 2))
fi

echo
if [ "$skipped" -gt 0 ]; then
  echo "$passed passed, $failed failed, $skipped skipped"
else
  echo "$passed passed, $failed failed"
fi
[ "$failed" -eq 0 ]
