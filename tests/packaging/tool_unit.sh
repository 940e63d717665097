#!/usr/bin/env bash
# The unit of a tool is one that systemd takes without a word, and exposes next to nothing:
#   tool_unit.sh UNIT PROGRAM MOST_EXPOSED
set -euo pipefail

unit=$1
program=$2
# Tenths of systemd's exposure level.
most_exposed=$3

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root"/usr/{bin,lib/systemd/system}
ln -s usr/bin usr/lib "$root"
install /bin/true "$root/usr/bin/$program"
install -m 644 "$unit" "$root/usr/lib/systemd/system/"
printf '[Service]\nExecStart=/usr/bin/%s\n' "$program" >"$root/usr/lib/systemd/system/dbus.service"
for target in sysinit basic shutdown multi-user; do
    printf '[Unit]\nDescription=%s\n' "$target" >"$root/usr/lib/systemd/system/$target.target"
done

complaints=$(systemd-analyze verify --man=no --root="$root" "$(basename "$unit")" 2>&1) || {
    echo "systemd does not take the unit: $complaints"
    exit 1
}
if [ -n "$complaints" ]; then
    echo "systemd complains: $complaints"
    exit 1
fi
systemd-analyze security --offline=true --no-pager --threshold="$most_exposed" "$unit" | tail -n 1
