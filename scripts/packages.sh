# Sourced by demo.sh and test.sh: installs what is missing of the packages named, without a prompt.
# Works as root or with sudo.

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

ensure_packages() {
  local missing=()
  local name
  for name in "$@"; do
    dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$name")
  done
  [ "${#missing[@]}" -eq 0 ] && return 0
  echo "Installing: ${missing[*]}"
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -q update >/dev/null || true
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -y install --no-install-recommends \
    "${missing[@]}" >/dev/null
}

build_packages=(g++ cmake ninja-build ccache libpugixml-dev libzip-dev zlib1g-dev libsqlite3-dev
                libcli11-dev nlohmann-json3-dev)
test_packages=(clang clang-format libclang-rt-14-dev llvm googletest libgtest-dev libreoffice-draw-nogui
               poppler-utils fonts-dejavu-core fonts-liberation git)
