#!/usr/bin/env bash
# Who may include whom. The link lists of CMake are the first guard; headers are the second.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
report() {
  if [ -n "$2" ]; then
    printf '%s\n%s\n' "$1" "$2"
    status=1
  fi
}

core='crossref shapeutil catalogue settings lang sort export'
core_headers='platform/[a-z_]+\.(h|inc)|(crossref|shapeutil|catalogue|settings|lang|sort|export)/[A-Za-z_]+\.h'
for folder in $core; do
  [ -n "$(git ls-files -- "$folder/*.cpp" "$folder/*.h")" ] || continue
  report "$folder/ may include the core and platform/*.h only:" \
    "$(git ls-files -- "$folder/*.cpp" "$folder/*.h" | xargs grep -nE '^#include "' /dev/null |
       grep -vE "#include \"($core_headers)\"" || true)"
done
report "platform/*.h and *.cpp may include platform/*.h only:" \
  "$(git ls-files -- platform/ | grep -E '^platform/[^/]+\.(h|cpp)$' |
     xargs grep -nE '^#include "' /dev/null | grep -vE '#include "platform/[a-z_]+\.(h|inc)"' || true)"
report "platform/embedded/drawing/ may include platform/*.h and itself only:" \
  "$(git ls-files -- platform/embedded/drawing | grep -E '\.(h|cpp)$' |
     xargs grep -nE '^#include "' /dev/null |
     grep -vE '#include "platform/([a-z_]+|embedded/drawing/[a-z_]+)\.(h|inc)"' || true)"

# Third-party headers belong to the folder that wraps the library.
foreign() {  # foreign PATTERN FOLDERS
  report "<$1…> is included outside $2:" \
    "$(git ls-files -- '*.cpp' '*.h' | grep -vE "^($2)" | xargs grep -nE "^#include <($1)" /dev/null || true)"
}
foreign 'pugixml|zip\.h|zlib' 'platform/embedded/vsdx/|tests/|fuzz/|bench/'
foreign 'sqlite3' 'platform/embedded/database/|tests/|bench/'
foreign 'CLI/|nlohmann/' 'cli/|tests/'
foreign 'windows\.h|oleauto' 'platform/com/'
report "headers of wrapped libraries belong in .cpp files:" \
  "$(git ls-files -- 'platform/*.h' | xargs grep -nE '^#include <(pugixml|zip\.h|zlib|sqlite3|windows\.h)' /dev/null || true)"
report "#ifdef belongs in platform/ alone:" \
  "$(git ls-files -- '*.cpp' '*.h' | grep -v '^platform/' | xargs grep -nE '^#ifn?def|^#if ' /dev/null || true)"
exit $status
