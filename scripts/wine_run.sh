#!/bin/sh
# Runs one Windows program in the prefix that scripts/with_wine.sh made; CMake starts tests with it.
: "${WINEPREFIX:?run this through scripts/with_wine.sh}"
exec "${OHMWISE_WINE:-wine}" "$@"
