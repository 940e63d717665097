#!/bin/sh
# Dims the display and tells of the media that come and go: client.sh BRIGHTNESS
set -eu

service=com.quorin.system
prefix=/com/quorin/system

# call PATH INTERFACE METHOD [SIGNATURE ARGUMENT...]: prints the value that comes back.
call() {
    path=$1
    interface=$2
    shift 2
    answer=$(busctl call "$service" "$prefix/$path" "$service.$interface" "$@")
    echo "${answer#* }"
}

number=$(call version/serial_number version get)
# A text comes as '"text\n"'.
echo "terminal $(printf '%b' "$number" | tr -d '"')"

call device/display/backlight device.dimmable set_brightness d "$1" >/dev/null
echo "brightness $(call device/display/backlight device.dimmable get_brightness)"

echo "watching the media"
gdbus monitor --system --dest "$service" --object-path "$prefix/media" |
    sed -u -n "s/.*\.connection ('\(.*\)', true)/\1 has come/p
               s/.*\.connection ('\(.*\)', false)/\1 has gone/p"
