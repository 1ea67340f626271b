#!/usr/bin/env bash
# Builds the command and shows its main job on the sample drawing. Installs what is missing.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

say() { printf '\n== %s\n' "$*"; }

install_missing "${build_packages[@]}"
use_ccache
mkdir -p build/logs out

say "Building (log: build/logs/demo.log)"
if ! { cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DOHMWISE_TESTS=OFF &&
       cmake --build build/demo -j "$(nproc)"; } >build/logs/demo.log 2>&1; then
  tail -n 40 build/logs/demo.log >&2
  echo "The build failed." >&2
  exit 1
fi
ohmwise=build/demo/cli/ohmwise
sample=build/demo/share/ohmwise/motor-starter.vsdx
echo "$("$ohmwise" --version) is built"

run() {
  printf '\n$ %s' "$(basename "$1")"
  local word
  for word in "${@:2}"; do
    case $word in *[!A-Za-z0-9._/=-]*|'') printf " '%s'" "$word" ;; *) printf ' %s' "$word" ;; esac
  done
  printf '\n'
  "$@"
}

say "The cross-reference index of a motor starter"
cp "$sample" out/motor-starter.vsdx
run "$ohmwise" index out/motor-starter.vsdx

say "The contactor of pump 1 gets another name: K1 becomes K10 on the coil"
run "$ohmwise" text out/motor-starter.vsdx 'Control 24 V / ladder' Coil K10 --output out/renamed.vsdx

say "The index follows, and with --save the drawing is brought into step"
run "$ohmwise" index out/renamed.vsdx --save >out/renamed-index.txt
grep -E 'Reference  |K1(0)? |Saved' out/renamed-index.txt
"$ohmwise" index out/renamed.vsdx --json >out/renamed-index.json

say "Location labels are written: where the shapes of a reference are"
run "$ohmwise" labels out/renamed.vsdx --save

say "A contact is moved; the location labels that name it follow by formula"
run "$ohmwise" move out/renamed.vsdx Signals 'Make contact' '60 mm' '125 mm' --output out/moved.vsdx

say "Its page gets another name and the last page goes: links stay right, labels get shorter"
run "$ohmwise" page out/moved.vsdx rename Signals "Signals / it's lamps" --save
run "$ohmwise" page out/moved.vsdx delete 'Inputs and terminals' --save
run "$ohmwise" labels out/moved.vsdx

say "Coils get articles of a catalogue, and the bill of materials is a workbook"
rm -f out/parts.mdb out/bill-of-materials.xlsx
run "$ohmwise" catalogue init out/parts.mdb
run "$ohmwise" assign out/motor-starter.vsdx Coil Coil.66 --component 4 --catalogue out/parts.mdb \
  --output out/assigned.vsdx
run "$ohmwise" assign out/assigned.vsdx Coil.95 --component 8 --catalogue out/parts.mdb --save
run "$ohmwise" report bom out/assigned.vsdx --catalogue out/parts.mdb \
  --output out/bill-of-materials.xlsx

say "What is wrong in the drawing, and what to do"
run "$ohmwise" check out/assigned.vsdx --catalogue out/parts.mdb --fail-on never

say "Results"
cat <<END
out/motor-starter.vsdx       the sample drawing, as it was
out/renamed.vsdx             K10 on the coil, texts and reference cells in step
out/renamed-index.txt        its index as a table, out/renamed-index.json as JSON
out/moved.vsdx               the same with one contact moved, one page renamed, one deleted
out/assigned.vsdx            the sample drawing with articles of the catalogue out/parts.mdb
out/bill-of-materials.xlsx   what is in it, counted and priced, for any spreadsheet program
Demo finished: the drawings in out/ open in LibreOffice Draw and Microsoft Visio.
END
