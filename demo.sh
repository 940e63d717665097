#!/usr/bin/env bash
# Shows the whole terminal at work, with no hardware: builds, then starts a private message bus, a
# controller on a pseudo-terminal, the daemon and, on top, dov-watch or the panel.
#
#   ./demo.sh             with dov-controller, the bench controller
#   ./demo.sh --simulate  with the program's own simulator
#   ./demo.sh --panel     with dov-controller, a tap on the line, and dov-panel for a browser
#
# On a terminal it runs until q is pressed; the panel, whose address it prints, until Ctrl-C.
# Otherwise it runs for 15 seconds, prints every change as a line, and exits 0 only if it has seen
# what the controller must make happen; see verdict(). The panel's page is then used in a browser
# without a display, by tools/demo/use-panel, and its picture left at build/panel.png, or where
# DOV_PANEL_PICTURE says.
#
# Nothing of the machine's is touched: the bus is private, the daemon is the one that the tests
# run, with the shipped code and every path and command below one temporary directory (its
# `systemctl` there only takes a note), and all of that is gone at the end, even after kill -9.
set -euo pipefail

readonly run_seconds=15
readonly brightness=37 # comes back from a controller as 94 steps of 254, which is 37.008 %
# The service is the demonstration's own: its inputs may signal every change.
readonly watch_options=(--interval 500 --hysteresis 0)
readonly service=com.quorin.system
readonly objects=/com/quorin/system
readonly digital_output=$objects/device/io/output/digital/2
readonly backlight=$objects/device/display/backlight

source_directory=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
simulate=false
panel=false
work=
build=
address=
children=()

fail()
{
    echo "demo: $*" >&2
    exit 1
}

parse_arguments()
{
    case "$*" in
    "") ;;
    --simulate) simulate=true ;;
    --panel) panel=true ;;
    --help)
        sed -n '2,/^set /s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
        exit 0
        ;;
    *) fail "unknown arguments: $* (there are --simulate, --panel and --help)" ;;
    esac
}

# The directory for everything that runs, and one process that removes it when this script is gone,
# in whatever way: then nobody holds the other end of its pipe.
make_work_directory()
{
    work=$(mktemp -d "${TMPDIR:-/tmp}/dov-demo.XXXXXX")
    exec {life}> >(
        trap '' INT TERM HUP
        exec >/dev/null
        cat
        rm -rf "$work"
    )
    cleaner=$!
    mkdir "$work/root"
    "$source_directory/tests/fixtures/make-root" "$work/root"
    cp -t "$work/root/etc" "$source_directory"/data/examples/{power_manage,oem_profile}.conf
    printf '#!/bin/sh\necho 5.10.0\n' >"$work/root/bin/uname"
    chmod +x "$work/root/bin/uname"
    echo demo >"$work/root/etc/bsp_version_short"
    echo 0001234 >"$work/root/nv/info/SERIAL_NUMBER"
    printf 'PN-4711' >"$work/root/nv/info/PART_NUMBER"
    printf 'VP2' >"$work/root/nv/info/VEHICLE_PLATFORM_CODE"
    printf 'B3' >"$work/root/nv/info/BRAND_CODE"
}

clean_up()
{
    trap '' INT TERM HUP
    local child
    for child in "${children[@]}"; do kill "$child" 2>/dev/null || true; done
    for child in "${children[@]}"; do wait "$child" 2>/dev/null || true; done
    [ -n "$work" ] || return 0
    exec {life}>&-
    wait "$cleaner" 2>/dev/null || true
}

# attend COMMAND...: runs it on this script's own input, and waits for it; a signal to this script
# ends both at once, which a command in the foreground would not let it.
attend()
{
    local status=0
    setpriv --pdeathsig TERM -- "$@" <&3 &
    children+=($!)
    wait "$!" || status=$?
    unset 'children[-1]'
    return "$status"
}

# Builds in the tree, or beside everything else when the tree is somebody else's. What builds ends
# with this script, and the directory is removed only then.
build_programs()
{
    build=$source_directory/build/release
    mkdir -p "$build" 2>/dev/null || true
    if [ -w "$build" ] && { [ ! -e "$build/CMakeCache.txt" ] || [ -w "$build/CMakeCache.txt" ]; }; then
        attend cmake -S "$source_directory" --preset release
    else
        build=$work/build
        attend cmake -S "$source_directory" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
    fi
    local programs=(dov-dbus-test dov-watch dov-controller)
    ! $panel || programs+=(dov-line dov-panel)
    attend ninja -C "$build" "${programs[@]}"
}

# start NAME COMMAND...: runs it in the background, its output in NAME.log, for as long as this
# script lives. Its process is the last of the children.
start()
{
    local name=$1
    shift
    setpriv --pdeathsig KILL -- "$@" </dev/null >"$work/$name.log" 2>&1 {life}>&- &
    children+=($!)
}

# await WHAT COMMAND...: waits until the command succeeds.
await()
{
    local what=$1
    shift
    for _ in {1..300}; do
        "$@" >/dev/null 2>&1 && return
        kill -0 "${children[-1]}" 2>/dev/null || break
        sleep 0.1
    done
    tail -n 20 "$work"/*.log >&2
    fail "$what does not come up"
}

# call DESTINATION PATH METHOD [ARGUMENT...]
call()
{
    local destination=$1
    shift
    dbus-send --bus="$address" --print-reply --dest="$destination" "$@"
}

start_bus()
{
    address=unix:path=$work/bus
    cat >"$work/bus.conf" <<END
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>$address</listen>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*" eavesdrop="true"/>
  </policy>
</busconfig>
END
    start bus dbus-daemon --config-file="$work/bus.conf" --nofork --nopidfile
    await "the message bus" call org.freedesktop.DBus / org.freedesktop.DBus.GetId
}

start_controller()
{
    if $simulate; then
        start line socat "pty,raw,echo=0,link=$work/root/dev/ttyUSB0" \
            "pty,raw,echo=0,link=$work/root/dev/ttyUSB1"
        await "the serial line" test -e "$work/root/dev/ttyUSB1"
        start simulator env DOV_TEST_ROOT="$work/root" "$build/dov-dbus-test" --simulate
    elif $panel; then
        start controller "$build/dov-controller" --link "$work/controller" \
            --socket "$work/bench" --script "$source_directory/tools/demo/terminal.script"
        await "the controller" test -e "$work/controller" -a -S "$work/bench"
        start tap "$build/dov-line" tap --device "$work/controller" --quiet \
            --link "$work/root/dev/ttyUSB0" --socket "$work/live"
        await "the tap" test -e "$work/root/dev/ttyUSB0" -a -S "$work/live"
    else
        start controller "$build/dov-controller" --link "$work/root/dev/ttyUSB0" \
            --script "$source_directory/tools/demo/terminal.script"
        await "the controller" test -e "$work/root/dev/ttyUSB0"
    fi
}

start_daemon()
{
    start daemon env DOV_TEST_ROOT="$work/root" DBUS_SYSTEM_BUS_ADDRESS="$address" \
        PATH="$work/root/bin:$PATH" "$build/dov-dbus-test"
    await "the daemon" call "$service" "$objects/version/bootloader" "$service.version.get"
}

start_panel()
{
    start panel "$build/dov-panel" --control --bus "$address" --controller "$work/bench" \
        --tap "$work/live" --listen 127.0.0.1:0
    await "the panel" grep -q '^dov-panel: http' "$work/panel.log"
    panel_address=$(sed -n 's/^dov-panel: \(http[^ ]*\)$/\1/p' "$work/panel.log")
}

show_panel_to_a_person()
{
    echo "demo: open $panel_address in a browser; Ctrl-C ends the demonstration"
    wait "${children[-1]}" || true
    fail "dov-panel has ended early"
}

show_panel_to_nobody()
{
    local picture=${DOV_PANEL_PICTURE:-$source_directory/build/panel.png}
    mkdir -p "$(dirname "$picture")" 2>/dev/null || true
    attend "$source_directory/tools/demo/use-panel" "$panel_address" "$address" "$work/bench" \
        "$picture"
    [ ! -e "$work/root/systemctl.calls" ] || fail "the terminal has been switched off"
}

# Curses needs to know that the terminal writes UTF-8, which almost every one does.
watch_on_terminal()
{
    local locale=${LC_ALL:-${LC_CTYPE:-${LANG:-}}}
    [ -n "$locale" ] || export LC_ALL=C.UTF-8
    attend "$build/dov-watch" "${watch_options[@]}" --address "$address"
}

answers()
{
    grep -c '^Got Dout' "$work/daemon.log" || true
}

watch_for_a_while()
{
    setpriv --pdeathsig TERM -- "$build/dov-watch" "${watch_options[@]}" --address "$address" \
        > >(tee "$work/changes" {life}>&-) </dev/null {life}>&- &
    local watch=$! before
    children+=("$watch")
    attend sleep 3
    before=$(answers)
    call "$service" "$digital_output" "$service.device.io.output.digital.on" >/dev/null
    call "$service" "$backlight" "$service.device.dimmable.set_brightness" "double:$brightness" \
        >/dev/null
    attend sleep $((run_seconds - 3))
    answered=$(answers)
    # The simulator holds its answers back behind its reports, which it makes faster than it sends
    # them: there, the answers that count are those to the commands of the daemon's start.
    $simulate || answered=$((answered - before))
    kill "$watch" 2>/dev/null || fail "dov-watch has ended early"
    wait "$watch" 2>/dev/null || true
    unset 'children[-1]'
}

# seen WHAT PATH MEMBER LEAST: whether there are at least so many different values, among those
# that a controller has reported, in the lines whose path and member match.
seen()
{
    local count
    count=$(awk -v path="^$objects/$2\$" -v member="^$3\$" '
        $2 ~ path && $3 ~ member && $4 > -1000000 && !known[$2, $4]++ { values[$2]++ }
        END { for (each in values) if (values[each] > most) most = values[each]; print most + 0 }
    ' "$work/changes")
    if [ "$count" -ge "$4" ]; then
        echo "demo: ok: $1" >&2
    else
        echo "demo: MISSING: $1" >&2
        return 1
    fi
}

# The simulator has no voltages, no temperatures and no answer to the brightness, which is then
# read back as the daemon keeps it.
verdict()
{
    local good=true level="$brightness"
    seen "a digital input has changed" 'device/io/input/digital/.' changed 1 || good=false
    seen "the analog input has changed" 'device/io/input/analog/0' '(val_changed|get_value)' 2 ||
        good=false
    if ! $simulate; then
        level="$brightness.00[0-9]*"
        seen "a voltage has changed" 'device/io/input/voltage/.' '(val_changed|get_value)' 2 ||
            good=false
        seen "a temperature has changed" 'device/io/input/temperature/.' \
            '(val_changed|get_value)' 2 || good=false
    fi
    if grep -q " $digital_output is_on true\$" "$work/changes" && [ "$answered" -gt 0 ]; then
        echo "demo: ok: a digital output has been switched, and digital outputs have answered" >&2
    else
        echo "demo: MISSING: a digital output that has been switched and has answered" >&2
        good=false
    fi
    if grep -Eq " $backlight get_brightness $level\$" "$work/changes"; then
        echo "demo: ok: the backlight has been set and read back" >&2
    else
        echo "demo: MISSING: the backlight, set and read back" >&2
        good=false
    fi
    if [ -e "$work/root/systemctl.calls" ]; then
        echo "demo: MISSING: a terminal that stays on" >&2
        good=false
    fi
    $good
}

# A person has a browser.
install_packages()
{
    local lists=("$source_directory/tools/setup/packages.txt")
    ! $panel || { [ -t 0 ] && [ -t 1 ]; } ||
        lists+=("$source_directory/tools/setup/browser-packages.txt")
    "$source_directory/tools/setup/install-packages.sh" "${lists[@]}"
}

main()
{
    parse_arguments "$@"
    exec 3<&0 || exec 3</dev/null
    trap clean_up EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    install_packages
    make_work_directory
    build_programs >&2
    start_bus
    start_controller
    start_daemon
    if $panel; then
        start_panel
        if [ -t 0 ] && [ -t 1 ]; then show_panel_to_a_person; else show_panel_to_nobody; fi
    elif [ -t 0 ] && [ -t 1 ]; then
        watch_on_terminal
    else
        watch_for_a_while
        verdict
    fi
}

main "$@"
exit
