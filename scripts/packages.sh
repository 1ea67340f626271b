# Sourced by the other scripts: installs Debian packages that are missing, without questions.

# Another program may be installing: its lock is waited for.
apt_get=(env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 -q)

# install_missing PACKAGE…: nothing happens when all of them are installed.
install_missing() {
  local missing=() package
  for package in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed'; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0

  local root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
      echo "These packages are missing, and installing them needs root or sudo without a password:" >&2
      echo "  apt-get install ${missing[*]}" >&2
      return 1
    fi
    root=(sudo -n)
  fi
  echo "Installing ${missing[*]}"
  local log
  log=$(mktemp)
  # A failed update may be about an index that is not needed here; what is there may do.
  if ! { "${root[@]}" "${apt_get[@]}" update
         "${root[@]}" "${apt_get[@]}" install -y --no-install-recommends "${missing[@]}"
       } >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    echo "Installing the packages failed; the full log is in $log." >&2
    return 1
  fi
  rm -f "$log"
}

# What the program itself is built with and from; docs/dependencies.md gives the reasons.
build_packages=(
  cmake ninja-build g++ ccache pkg-config
  libpugixml-dev libzip-dev zlib1g-dev libsqlite3-dev libpq-dev mdbtools-dev libcli11-dev
  libxlsxwriter-dev nlohmann-json3-dev)

# What the tests need besides.
test_packages=(
  libgtest-dev clang-14 libclang-rt-14-dev clang-format-14 libreoffice-draw-nogui
  libreoffice-calc-nogui poppler-utils postgresql dpkg-dev lintian man-db)

# What the benchmarks need: the framework, and the peers they compare with.
bench_packages=(libbenchmark-dev libicu-dev libvisio-tools postgresql)

# What the DLL for Visio is built with: cross compilers with POSIX threads, the interface compiler
# with what it reads, and the sources of the test framework.
windows_packages=(
  g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix mingw-w64-tools libwine-dev libwine
  googletest)

# What its tests run under.
wine_packages=(wine wine32:i386 wine64 libwine:i386)

# install_wine: 32-bit Wine, which Debian keeps in another architecture (i386, added to the machine's
# when it is not there). Where the security index of that architecture lags behind, packages that
# must agree on both can only be had by taking the machine's own back to an older version: that is
# done with OHMWISE_ALLOW_DOWNGRADES=1 only, and otherwise told with their names. Fails when there
# is no 32-bit Wine in the end; the architecture is taken out again then, and what the machine's own
# architecture needs is installed.
install_wine() {
  local package missing=()
  for package in "${wine_packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed'; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local root=()
  if [ "$(id -u)" -ne 0 ]; then
    sudo -n true 2>/dev/null || return 1
    root=(sudo -n)
  fi
  echo "Installing ${missing[*]}"
  local folder added=
  folder=$(mktemp -d)
  cat >"$folder/preferences" <<'END'
Package: *
Pin: release n=bookworm
Pin-Priority: 1001

Package: *
Pin: release n=bookworm-security
Pin-Priority: 100
END
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    "${root[@]}" dpkg --add-architecture i386 && added=1
  fi
  local install=("${root[@]}" "${apt_get[@]}" install -y --no-install-recommends)
  local older=("${install[@]}" --allow-downgrades -o "Dir::Etc::Preferences=$folder/preferences"
               "${missing[@]}")
  # Ends with a failure when one index does not match, which may be one that is not needed.
  "${root[@]}" "${apt_get[@]}" update >"$folder/log" 2>&1 </dev/null || true
  local result=0
  if ! "${install[@]}" "${missing[@]}" >>"$folder/log" 2>&1 </dev/null; then
    result=1
    # "Inst NAME [VERSION NOW] (VERSION THEN …": what would be taken back, from a dry run.
    local name now then
    while read -r name now then; do
      if dpkg --compare-versions "$then" lt "$now"; then
        echo "  $name would go back from $now to $then"
      fi
    done < <("${older[@]}" -s 2>>"$folder/log" </dev/null |
             sed -nE 's/^Inst ([^ ]+) \[([^]]+)\] \(([^ ]+) .*/\1 \2 \3/p') >"$folder/downgrades"
    if [ "${OHMWISE_ALLOW_DOWNGRADES:-}" = 1 ]; then
      cat "$folder/downgrades"
      "${older[@]}" >>"$folder/log" 2>&1 </dev/null && result=0
    elif [ -s "$folder/downgrades" ]; then
      echo "32-bit Wine needs older versions of packages that are installed; nothing was changed."
      cat "$folder/downgrades"
      echo "OHMWISE_ALLOW_DOWNGRADES=1 installs it with them."
    fi
  fi
  if [ "$result" -ne 0 ]; then
    tail -n 1 "$folder/log" >&2
    if [ "$added" ]; then
      "${root[@]}" dpkg --remove-architecture i386 >>"$folder/log" 2>&1 || true
    fi
    "${install[@]}" wine wine64 >>"$folder/log" 2>&1 </dev/null || tail -n 1 "$folder/log" >&2
  fi
  rm -rf "$folder"
  return "$result"
}

use_ccache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  export CCACHE_NOHASHDIR=1  # build folders with the same flags share objects
}
