#!/usr/bin/env bash
# picture.sh PROGRAM WHAT FILE: a picture of what show_forms shows ("progress", "box"). Run it
# through scripts/with_wine.sh -x.
set -euo pipefail
program=$1 what=$2 file=$3
mkdir -p "$(dirname "$file")"
"$(dirname "$0")/../../../scripts/wine_run.sh" "$program" "$what" &
shown=$!
sleep 2
import -window root "$file"
wait "$shown"
