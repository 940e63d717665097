#!/usr/bin/env bash
# The unit is one that systemd takes without a word, and exposes no more than it has to:
#   unit.sh UNIT PROGRAM
set -euo pipefail

unit=$1
program=$2
# Tenths of systemd's exposure level.
most_exposed=11

# A file system with nothing but what the unit speaks of.
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root"/usr/{bin,sbin,lib/systemd/system}
ln -s usr/bin usr/sbin usr/lib "$root"
install "$program" "$root/usr/sbin/dov-dbus"
install /bin/stty "$root/usr/bin/stty"
install -m 644 "$unit" "$root/usr/lib/systemd/system/"
# The documented drop-in is good too.
install -D -m 644 "$(dirname "$0")/../../data/systemd/debug.conf.example" \
    "$root/usr/lib/systemd/system/$(basename "$unit").d/debug.conf"
printf '[Service]\nExecStart=/usr/bin/stty\n' >"$root/usr/lib/systemd/system/dbus.service"
printf '[Socket]\nListenStream=/run/dbus\n' >"$root/usr/lib/systemd/system/dbus.socket"
for target in sysinit basic shutdown sockets; do
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

if ! exposure=$(systemd-analyze security --offline=true --no-pager \
    --threshold="$most_exposed" "$unit"); then
    echo "$exposure"
    exit 1
fi
echo "$exposure" | tail -n 1
