#!/usr/bin/env bash
# Kills a writing process 200 times (or as often as the first argument says), at random, on both
# engines, and checks after each time that the catalogue opens and holds every acknowledged row.
set -euo pipefail
cd "$(dirname "$0")/.."
test=${OHMWISE_BUILD:-build/linux}/tests/database/catalogue_engine_test
[ -x "$test" ] || { echo "Build first: scripts/test.sh, or set OHMWISE_BUILD." >&2; exit 1; }
OHMWISE_KILLS=${1:-200} exec "$test" --gtest_filter='*Killed/*'
