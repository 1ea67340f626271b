#!/usr/bin/env bash
# bare_debian.sh PACKAGE: installs the Debian package with apt in a bare Debian 12, runs the command,
# removes it again and looks for what is left. Needs root, debootstrap and a mirror; about a minute.
set -euo pipefail
package=$(realpath "$1")
[ "$(id -u)" -eq 0 ] || { echo "only root can make a root folder to install in"; exit 1; }
if [ -z "${OHMWISE_OWN_MOUNTS:-}" ]; then  # what is mounted below ends with this script
  OHMWISE_OWN_MOUNTS=1 exec unshare --mount --propagation private "$0" "$package"
fi
root=$(mktemp -d)
chmod 755 "$root"
trap 'umount -q "$root/proc" || true; rm -rf --one-file-system "$root"' EXIT
fail() { echo "FAILED: $*"; exit 1; }
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin DEBIAN_FRONTEND=noninteractive "$@"; }

debootstrap --variant=minbase bookworm "$root" http://deb.debian.org/debian >"$package.debootstrap.log" ||
  { tail "$package.debootstrap.log"; fail "debootstrap"; }
rm "$package.debootstrap.log"
cp "$package" "$root/tmp/"
mount -t proc proc "$root/proc"
inside apt-get update -qq
# Files that every installation changes are left out.
list() {
  (cd "$root" && find . -path ./proc -prune -o -path ./var/lib/apt -prune -o -path ./var/cache -prune \
     -o -path ./var/log -prune -o -print | sort)
}
list >"$root.before"
inside apt-get install -y -qq --no-install-recommends "/tmp/$(basename "$package")" >"$root.log" 2>&1 ||
  { tail "$root.log"; fail "apt does not install it"; }
inside ohmwise --version
inside ohmwise index /usr/share/ohmwise/motor-starter.vsdx | grep -q ' K1 ' || fail "no index"
inside ohmwise catalogue init /tmp/parts.mdb >/dev/null
inside ohmwise catalogue search contactor --catalogue /tmp/parts.mdb | grep -qi contactor || fail "no catalogue"
rm "$root/tmp/parts.mdb"
inside apt-get purge -y -qq --autoremove ohmwise >"$root.log" 2>&1 || { tail "$root.log"; fail "purge"; }
list >"$root.after"
diff "$root.before" "$root.after" || fail "something is left"
rm -f "$root".before "$root".after "$root".log
echo "installed, run and removed without remains"
