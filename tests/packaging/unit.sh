#!/usr/bin/env bash
# The unit is one that systemd takes without a word, and exposes no more than it has to; so is the
# tap's, if it is given, and the daemon's with the drop-in that is beside the tap's:
#   unit.sh UNIT PROGRAM [TAP_UNIT TAP_PROGRAM]
set -euo pipefail

unit=$1
program=$2
tap_unit=${3-}
tap_program=${4-}
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
if [ -n "$tap_unit" ]; then
    install "$tap_program" "$root/usr/bin/dov-line"
    install -m 644 "$tap_unit" "$root/usr/lib/systemd/system/"
    install -m 644 "$(dirname "$tap_unit")/tap.conf.example" \
        "$root/usr/lib/systemd/system/$(basename "$unit").d/tap.conf"
fi
printf '[Service]\nExecStart=/usr/bin/stty\n' >"$root/usr/lib/systemd/system/dbus.service"
printf '[Socket]\nListenStream=/run/dbus\n' >"$root/usr/lib/systemd/system/dbus.socket"
for target in sysinit basic shutdown sockets; do
    printf '[Unit]\nDescription=%s\n' "$target" >"$root/usr/lib/systemd/system/$target.target"
done

verify()
{
    local complaints
    complaints=$(systemd-analyze verify --man=no --root="$root" "$1" 2>&1) || {
        echo "systemd does not take $1: $complaints"
        exit 1
    }
    if [ -n "$complaints" ]; then
        echo "systemd complains of $1: $complaints"
        exit 1
    fi
}

expose()
{
    local exposure
    if ! exposure=$(systemd-analyze security --offline=true --no-pager \
        --threshold="$most_exposed" "$1"); then
        echo "$exposure"
        exit 1
    fi
    echo "$exposure" | tail -n 1
}

verify "$(basename "$unit")"
expose "$unit"
if [ -n "$tap_unit" ]; then
    verify "$(basename "$tap_unit")"
    expose "$tap_unit"
fi
