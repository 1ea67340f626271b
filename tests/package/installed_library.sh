#!/usr/bin/env bash
# installed_library.sh BUILD_FOLDER: installs the build, takes the example and its CMakeLists.txt out
# of docs/library.md, builds them against the installed package with CMake and with pkg-config, and
# holds what they print against what the installed command says of the same drawing.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() { echo "FAILED: $*"; exit 1; }

cmake --install "$build" --prefix "$folder/first" >"$folder/install.log" || fail "cmake --install"
mv "$folder/first" "$folder/moved"  # an installation may be moved
prefix=$folder/moved
block() { awk -v from="\`\`\`$1" '$0 == from { on = 1; next } /^```/ { on = 0 } on' docs/library.md; }
mkdir "$folder/example"
cd "$folder/example"
(cd "$OLDPWD" && block cpp) >references.cpp
(cd "$OLDPWD" && block cmake) >CMakeLists.txt

cmake -S . -B build -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >configure.log 2>&1 &&
  cmake --build build >build.log 2>&1 || { cat configure.log build.log; fail "the example does not build"; }
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name ohmwise.pc)")
# shellcheck disable=SC2046  # flags are words
${CXX:-g++} -std=c++20 references.cpp -o with_pkg_config $(pkg-config --cflags --libs ohmwise)

version=$("$prefix/bin/ohmwise" --version)
[ "$version" = "ohmwise $(pkg-config --modversion ohmwise)" ] || fail "$version, another in ohmwise.pc"

drawing=$prefix/share/ohmwise/motor-starter.vsdx
unset OHMWISE_DATA
"$prefix/bin/ohmwise" report references "$drawing" -o - 2>/dev/null | tr -d '\r' |
  awk -F , 'NR > 1 { print $1 "\t" $5 }' | sort >expected
[ -s expected ] || fail "the command lists no references"
for program in build/references ./with_pkg_config; do
  "$program" "$drawing" 2>messages | sort >listed || { cat messages; fail "$program"; }
  diff expected listed || fail "$program lists other references"
done
