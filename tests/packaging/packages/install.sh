#!/usr/bin/env bash
# Installs and removes the packages in a copy of the machine's files. Runs in namespaces of its own,
# which packages.sh makes.
#     install.sh PACKAGES SOURCES DIRECTORY
# The copy lies in the directory, and is gone with the namespaces.
set -euo pipefail

packages=$(realpath "$1")
sources=$2
stage=$3
mkdir "$stage"
mount -t tmpfs tmpfs "$stage"
mkdir "$stage"/{upper,work,root,packages}
cp "$packages"/*.deb "$stage/packages"
cp -r "$sources/data" "$sources/docs" "$stage/packages"
mount -t overlay overlay -o "lowerdir=/,upperdir=$stage/upper,workdir=$stage/work" "$stage/root"
for path in run tmp; do
    mount -t tmpfs tmpfs "$stage/root/$path"
done
mount -t proc proc "$stage/root/proc"
mount --rbind /dev "$stage/root/dev"
mkdir "$stage/root/tmp/packages"
mount --bind "$stage/packages" "$stage/root/tmp/packages"

# What a service manager would be told to do is written down.
cat >"$stage/root/tmp/systemctl" <<'STUB'
#!/bin/sh
echo "$@" >>/tmp/systemctl.calls
STUB
chmod +x "$stage/root/tmp/systemctl"
mount --bind "$stage/root/tmp/systemctl" "$stage/root/$(realpath "$(command -v systemctl)")"

cp "$(dirname "$0")/inside.sh" "$stage/root/tmp"
exec chroot "$stage/root" /bin/bash /tmp/inside.sh
