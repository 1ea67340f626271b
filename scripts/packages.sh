# Sourced by the other scripts: installs Debian packages that are missing, without questions.

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
  if ! { "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
         "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
           --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
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
  libreoffice-calc-nogui poppler-utils postgresql)

# What the benchmarks need: the framework, and the peers they compare with.
bench_packages=(libbenchmark-dev libicu-dev libvisio-tools postgresql)

# What the DLL for Visio is built with: cross compilers with POSIX threads, the interface compiler
# with what it reads, and the sources of the test framework.
windows_packages=(
  g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix mingw-w64-tools libwine-dev libwine
  googletest)

# What its tests run under.
wine_packages=(wine wine32:i386 wine64 libwine:i386)

# install_wine: 32-bit Wine, which Debian keeps in another architecture. Mirrors whose security index
# of that architecture lags behind offer different versions of packages that must agree on both, so
# the second try prefers the main suite. Fails when neither works; what the machine's own
# architecture needs is installed then.
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
  local folder
  folder=$(mktemp -d)
  cat >"$folder/preferences" <<'END'
Package: *
Pin: release n=bookworm
Pin-Priority: 1001

Package: *
Pin: release n=bookworm-security
Pin-Priority: 100
END
  local install=("${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q
                 --no-install-recommends)
  local result=0
  {
    "${root[@]}" dpkg --add-architecture i386
    # Ends with a failure when one index does not match, which may be one that is not needed.
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q || true
    "${install[@]}" "${missing[@]}" ||
      "${install[@]}" --allow-downgrades -o "Dir::Etc::Preferences=$folder/preferences" \
        "${missing[@]}" || result=1
  } >"$folder/log" 2>&1 </dev/null
  if [ "$result" -ne 0 ]; then
    tail -n 1 "$folder/log" >&2
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
