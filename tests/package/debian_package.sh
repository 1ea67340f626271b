#!/usr/bin/env bash
# debian_package.sh BUILD_FOLDER: makes the Debian package twice and looks at it: the same bytes, what
# it depends on, what the distribution's own check says, and the command out of the unpacked files.
set -euo pipefail
build=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0
fail() { echo "FAILED: $*"; failed=1; }

export SOURCE_DATE_EPOCH=1700000000
for run in 1 2; do
  (cd "$build" && cpack -G DEB -B "$folder/$run") >"$folder/cpack.log" 2>&1 || {
    tail -n 20 "$folder/cpack.log"
    exit 1
  }
done
package=$(echo "$folder"/1/*.deb)
cmp "$package" "$folder/2/$(basename "$package")" || fail "two runs give different files"

dpkg-deb -x "$package" "$folder/root"
program=$folder/root/usr/bin/ohmwise
version=$("$program" --version | cut -d ' ' -f 2)
[ "$(basename "$package")" = "ohmwise_${version}_$(dpkg --print-architecture).deb" ] ||
  fail "the name: $(basename "$package")"
[ "$(dpkg-deb -f "$package" Version)" = "$version" ] || fail "the version of the package"
depends=" $(dpkg-deb -f "$package" Depends | tr ',|' '  ') "
for installed in "$folder"/root/usr/bin/*; do
  while read -r library; do
    owner=$(dpkg-query -S "*$(ldd "$installed" | awk -v name="$library" '$1 == name { print $3 }')" |
      cut -d : -f 1)
    case $depends in *" $owner "*) ;; *) fail "it does not depend on $owner, which has $library" ;; esac
  done < <(objdump -p "$installed" | awk '/NEEDED/ { print $2 }')
done

# The history of changes is the repository's; the library alone starts the reader of Jet files.
lintian --allow-root --fail-on error,warning --suppress-tags no-changelog,no-manual-page "$package" ||
  fail "lintian"

# The unpacked command: its data is found beside it.
unset OHMWISE_DATA
cd "$folder/root/usr/share/ohmwise"
"$program" index motor-starter.vsdx >"$folder/unpacked"
"$build/cli/ohmwise" index motor-starter.vsdx >"$folder/built"
cmp "$folder/unpacked" "$folder/built" || fail "the unpacked command prints something else"

page=$folder/root/usr/share/man/man1/ohmwise.1.gz
LC_ALL=C.UTF-8 MANWIDTH=100 man --warnings -l "$page" >"$folder/page" 2>"$folder/warnings" ||
  fail "the manual page"
[ ! -s "$folder/warnings" ] || { cat "$folder/warnings"; fail "the manual page has warnings"; }

# What bash offers after some words; "" is no word, where it falls back to names of files.
# shellcheck disable=SC1091
. "$folder/root/usr/share/bash-completion/completions/ohmwise"
offers() {  # offers EXPECTED WORD…
  local expected=$1
  shift
  COMP_WORDS=(ohmwise "$@") COMP_CWORD=$# COMPREPLY=()
  _ohmwise || true  # compgen fails where it offers nothing
  [ "${COMPREPLY[*]}" = "$expected" ] || fail "after \"$*\" bash offers \"${COMPREPLY[*]}\""
}
offers "index" in
offers "category" catalogue categ
offers "--output" report bom drawing.vsdx --ou
offers "" report bom drawing
while read -r command; do
  offers "$command" "$command"
  grep -qE "^   $command( |$)" "$folder/page" || fail "the manual page lacks $command"
done < <("$program" --help | sed -n '/^Subcommands:/,$p' | grep -oE '^  [a-z]+')
exit "$failed"
