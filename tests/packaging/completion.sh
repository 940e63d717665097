#!/usr/bin/env bash
# The completion of the tools' command lines.
#     completion.sh DIRECTORY
# The programs are those in the directory.
set -euo pipefail

sources=$(cd "$(dirname "$0")/../.." && pwd)
PATH=$1:$PATH

# What is under test and what it builds on is written for interactive shells.
set +euo pipefail
. /usr/share/bash-completion/bash_completion
. "$sources/data/completion/dov-tools"

failures=0

# expect <words, separated by blanks> <word>...: these complete the last of the line's words.
expect() {
    local line=$1
    shift
    read -ra COMP_WORDS <<<"$line"
    [[ $line != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMP_LINE=$line
    COMP_POINT=${#line}
    COMPREPLY=()
    _dov_tool "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    if [[ "${COMPREPLY[*]}" != "$*" ]]; then
        echo "\"$line\" completes to \"${COMPREPLY[*]}\", not \"$*\""
        failures=$((failures + 1))
    fi
}

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
touch "$directory/power.conf"

expect 'dov-config-check --' --help --version --json --power --oem
expect 'dov-config-check --p' --power
expect "dov-config-check --power $directory/po" "$directory/power.conf"
expect "dov-config-check --oem $directory/no" ''
expect 'dov-watch --' --help --version --address --interval --report --hysteresis --filter --gone \
    --metrics --tap --once --json --lines --ascii
expect 'dov-watch --gone ' exit wait
expect 'dov-watch --gone w' wait
expect 'dov-watch --interval ' ''
expect 'dov-watch --json --li' --lines
expect 'dov-controller --exit' --exit-at-end
expect 'dov-controller --generation legacy-' legacy-hardware legacy-firmware
expect 'dov-controller --input temperature' temperature{0..5}
expect 'dov-controller --ignition ' on off
expect 'dov-controller --baudrate 5' 57600
expect "dov-controller --script $directory/p" "$directory/power.conf"
expect 'dov-line ' read stats compare tap send poll listen check scenario
expect 'dov-line s' stats send scenario
expect 'dov-line --' --help --version
expect 'dov-line read --' --help --version --from --id --where --errors --unanswered --time --json --csv
expect 'dov-line read --from ' host controller
expect 'dov-line read --time d' delta
expect 'dov-line stats --baudrate 5' 57600
expect 'dov-line tap --r' --record --rotate --ring
expect 'dov-line tap --rotate ' ''
expect 'dov-line tap --time ' relative absolute delta
expect "dov-line tap --keep $directory/p" "$directory/power.conf"
expect 'dov-line send --' --help --version --device --baudrate --record --count --interval --wait --time --json --bytes
expect "dov-line send --device $directory/p" "$directory/power.conf"
expect 'dov-line listen --' --help --version --device --baudrate --record --id --count --wait --time --json
expect 'dov-line check --' --help --version --device --baudrate --record --wait --change --list --tap --junit --json
expect 'dov-line check --device x recovery.s' recovery.sync_bytes recovery.split_frame recovery.silence
expect "dov-line stats $directory/p" "$directory/power.conf"
expect 'dov-report --' --help --version --check --redact --output --limit --root
expect "dov-report --output $directory/p" "$directory/power.conf"
expect 'dov-panel --' --help --version --bus --controller --tap --listen --interval --control \
    --token-file --page
expect 'dov-panel --interval ' ''
# The daemon's, as the README has them, which packaging.manual_pages holds against the program.
mapfile -t options < <(sed -n 's/^| `\(--[a-z0-9-]*\).*/\1/p' "$sources/README.md")
expect 'dov-dbus --' "${options[@]}"
expect 'dov-dbus --baudrate 3' 38400
expect "dov-dbus --port $directory/p" "$directory/power.conf"

for program in dov-config-check dov-controller dov-line dov-panel dov-report dov-watch dov-dbus; do
    complete -p "$program" >/dev/null || failures=$((failures + 1))
done
exit "$((failures > 0))"
