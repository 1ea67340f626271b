#!/usr/bin/env bash
# Checks which folder includes what. One line per offence; exit 1 when there is any.
set -u
cd "$(dirname "$0")/.." || exit 1

found=0
# Matches as "file:line: text", for files given on standard input.
includes() { xargs -r grep -HnE '^[[:space:]]*#[[:space:]]*include' -- /dev/null; }
offence() {  # reads matches
  local why=$1 line
  while IFS= read -r line; do
    echo "$line  <- $why"
    found=1
  done
}
sources() { find "$@" -name '*.cpp' -o -name '*.h' -o -name '*.inc' 2>/dev/null | sort; }

class_folders=(crossref shapeutil catalogue settings lang sort export)
existing=()
for folder in "${class_folders[@]}"; do [ -d "$folder" ] && existing+=("$folder"); done
standard='<[a-z_0-9]+>'
classes=$(IFS='|'; echo "${class_folders[*]}")

# What everything stands on: the standard library and itself.
offence 'base/ uses the standard library and base/*.h only' < <(
  sources base | includes | grep -vE "include[[:space:]]*($standard|\"base/[^/\"]+\")")

# Class folders: the standard library, base/, the platform's interfaces and each other.
below="$standard|\"(base|platform)/[^/\"]+\""
offence 'a class folder uses base/, platform/*.h, class folders and the standard library only' < <(
  sources "${existing[@]}" | includes |
    grep -vE "include[[:space:]]*($below|\"($classes)/[^\"]+\")")

# The rooms of schematic/: those too, and each other; wiring/ is below the other rooms.
offence 'schematic/ uses base/, platform/*.h, class folders, its own rooms and the standard library only' < <(
  sources schematic | includes |
    grep -vE "include[[:space:]]*($below|\"($classes|schematic)/[^\"]+\")")
offence 'schematic/wiring uses no other room' < <(
  sources schematic/wiring | includes |
    grep -E 'include[[:space:]]*"schematic/' | grep -vE '"schematic/(wiring/)?[^/"]+"')

# The platform's own level: the standard library, base/ and itself.
offence 'platform/ uses the standard library, base/ and platform/*.h only' < <(
  find platform -maxdepth 1 \( -name '*.cpp' -o -name '*.h' \) | includes |
    grep -vE "include[[:space:]]*($below)")

# The live drawing: the standard library, base/, the platform and itself.
offence 'platform/embedded/drawing uses the standard library, base/, platform/*.h and itself only' < <(
  sources platform/embedded/drawing | includes |
    grep -vE "include[[:space:]]*($below|\"platform/embedded/drawing/[^\"]+\")")

# Third-party headers: in the sources of the one folder that wraps the library.
wrapped() {  # wrapped PATTERN FOLDER
  offence "only sources in $2/ and tests include this library" < <(
    sources base platform "${existing[@]}" schematic cli data bench fuzz | includes |
      grep -E "include[[:space:]]*[<\"]$1" | grep -vE "^$2/[^:]*\.cpp:")
}
wrapped 'pugixml|pugiconfig' 'platform/embedded/(vsdx|spreadsheet)'
wrapped 'zip\.h|zipconf\.h|zlib\.h' platform/embedded/vsdx
wrapped 'sqlite3|libpq-fe' '(platform/embedded/database|bench|fuzz)'
wrapped 'mdbtools|glib' platform/embedded/database
wrapped 'xlsxwriter' '(platform/embedded/spreadsheet|bench)'
wrapped 'CLI/' cli
wrapped 'nlohmann/' cli
wrapped 'benchmark/|unicode/' bench

# Paths of somebody's machine.
offence 'a path of one machine' < <(
  sources base platform "${existing[@]}" schematic cli data tests bench fuzz |
    xargs -r grep -HnE '"/(home|root|opt|usr|mnt|work)/' -- /dev/null)

if [ "$found" -ne 0 ]; then exit 1; fi
echo "layers: every folder keeps to what it may include"
