#!/usr/bin/env bash
# Builds the Debian packages, lets lintian judge them, installs them and removes them again.
#     packages.sh [DIRECTORY]
# With a directory, the packages in it are taken instead of new ones. Nothing is installed on the
# machine: the packages see a copy of its files that goes away, in namespaces of their own, where
# neither its bus, nor its service manager, nor its power can be reached. That needs root; without,
# the installation is left out.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
sources=$(cd "$here/../.." && pwd)

"$sources/tools/setup/install-packages.sh" "$here/packages.txt"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

packages=${1:-$work/packages}
[ $# -gt 0 ] || "$sources/tools/package/build" "$packages" >"$work/build.log" 2>&1 ||
    { tail -n 50 "$work/build.log"; exit 1; }

echo "lintian"
lintian --allow-root --fail-on error,warning "$packages"/dov-dbus_*.changes

echo "what is in the packages"
for package in dov-dbus dov-dbus-tools dov-dbus-dev dov-dbus-wireshark dov-panel python3-dov; do
    file=("$packages/${package}"_*.deb)
    dpkg-deb --fsys-tarfile "${file[0]}" |
        tar --list --verbose --numeric-owner >"$work/$package.list"
    # Nothing is anybody's but root's, nothing runs with another's rights, nobody else may write.
    if grep -vE '^(d|-)rw(x|-)r-(x|-)r-(x|-) +0/0 |^l.{9} +0/0 ' "$work/$package.list"; then
        echo "$package: wrong owner or mode" >&2
        exit 1
    fi
    awk '$1 ~ /^[-l]/ { sub(/^\.\//, "/", $6); print $1, $6 }' "$work/$package.list" |
        sed "s,/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/,/MULTIARCH/," | LC_ALL=C sort -k2 |
        grep -v ' /usr/share/doc/.*/\(changelog.gz\|copyright\)$' >"$work/$package.files"
    diff "$here/packages/$package.files" "$work/$package.files"
done

if [ "$(id -u)" -ne 0 ]; then
    echo "left out: installing needs root"
    exit 0
fi
echo "installing and removing"
unshare --mount --net --ipc --pid --fork --mount-proc "$here/packages/install.sh" "$packages" \
    "$sources" "$work/stage"
echo "the packages are good"
