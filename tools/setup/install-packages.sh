#!/usr/bin/env bash
# Installs what is missing of the Debian packages listed in packages.txt, or in the lists given
# as arguments. Asks for nothing, and needs neither root nor sudo, when nothing is missing.
set -euo pipefail

directory=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
[ $# -gt 0 ] || set -- "$directory/packages.txt"

if ! command -v apt-get dpkg-query >/dev/null; then
    echo "install-packages: no apt-get here; these must be present: $(sed 's/#.*//' "$@" | xargs)" >&2
    exit 0
fi

missing=()
for package in $(sed 's/#.*//' "$@"); do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages: neither root nor sudo to install: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

# A fresh machine may be at its own updates.
options=(-q -o DPkg::Lock::Timeout=600)
echo "install-packages: installing ${missing[*]}" >&2
"${as_root[@]}" apt-get "${options[@]}" update >&2
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get "${options[@]}" install -y --no-install-recommends "${missing[@]}" >&2

# Their tools are wanted; the servers themselves are to run on nobody's machine unasked.
for server in prometheus mosquitto; do
    case " ${missing[*]} " in
        *" $server "*)
            [ ! -d /run/systemd/system ] || "${as_root[@]}" systemctl disable --now "$server" >&2
            ;;
    esac
done
