#!/usr/bin/env bash
# Every source file is as clang-format 14 leaves it.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -- '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
