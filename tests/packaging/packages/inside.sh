# What packages.sh checks in the copy of the machine's files.
set -euo pipefail
export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
cd /tmp/packages

fail() {
    echo "$*" >&2
    exit 1
}

# Whether the service manager was told to do this with the service.
asked_for() {
    grep -Eq "(^| )($1) .*dov-dbus" /tmp/systemctl.calls
}

# Everything but what every package changes, and what the machine's other programs write.
traces() {
    find /etc /usr /lib /sbin /bin /var /opt /srv /media -xdev \
        ! -path '/var/lib/apt/*' ! -path '/var/tmp/*' \
        ! -path '/var/lib/dpkg/*' ! -path '/var/log/*' ! -path '/var/cache/*' \
        ! -name '*.pyc' ! -path '*/__pycache__*' ! -path '/etc/*-' \
        -printf '%p %y %m %U %G %l\n' | sort
    sha256sum /etc/group /etc/gshadow /etc/passwd /etc/shadow
}

# Small images leave out documents, which are looked at here.
find /etc/dpkg/dpkg.cfg.d -type f -exec grep -q '^path-exclude' {} \; -delete
# The packages' scripts ask the service manager, here a stub, only where there is one, and where
# services may be asked for.
mkdir -p /run/systemd/system
rm -f /usr/sbin/policy-rc.d
# The manual's commands want these.
mkdir -p /etc/systemd/system /etc/udev/rules.d
traces >/tmp/before
dpkg --install dov-dbus_*.deb dov-dbus-tools_*.deb dov-dbus-dev_*.deb dov-dbus-wireshark_*.deb \
    dov-panel_*.deb python3-dov_*.deb >/tmp/install.log 2>&1 ||
    fail "$(cat /tmp/install.log)"

getent group dov >/dev/null || fail "no group dov"
[ "$(getent group dov | cut -d: -f3)" -lt 1000 ] || fail "dov is not a system group"
! systemctl_enabled=$(find /etc/systemd -name '*dov*' -o -name '*quorin*' | grep .) ||
    fail "enabled: $systemctl_enabled"
! asked_for 'start|restart|enable' || fail "the service manager was told: $(cat /tmp/systemctl.calls)"
! pgrep -x dov-dbus >/dev/null || fail "the daemon runs"
[ ! -e /etc/power_manage.conf ] || fail "there is a configuration"

cmp /usr/share/dbus-1/system.d/com.quorin.system.conf data/dbus/com.quorin.system.conf
systemd-analyze verify /lib/systemd/system/dov-dbus.service 2>/tmp/verify.log
! grep dov-dbus /tmp/verify.log || fail "the unit is not good"

# What is found needs no setting.
tshark -G protocols 2>/tmp/tshark.log | grep -q '	dov$' ||
    fail "tshark has no dissector: $(cat /tmp/tshark.log)"
tshark -D 2>/tmp/tshark.log | grep -q ' dov-line (' ||
    fail "tshark has no interface: $(cat /tmp/tshark.log)"

# The bus takes the policy with the group it names.
cat >/tmp/bus.conf <<'BUS'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/tmp/bus</listen>
  <include>/usr/share/dbus-1/system.d/com.quorin.system.conf</include>
</busconfig>
BUS
timeout 60 dbus-daemon --config-file=/tmp/bus.conf --nofork --nosyslog --print-address \
    >/tmp/bus.out 2>&1 &
until grep -q 'unix:path' /tmp/bus.out; do
    kill -0 $! 2>/dev/null || fail "the bus does not take the policy: $(cat /tmp/bus.out)"
done
kill $!
! grep -i 'unknown' /tmp/bus.out || fail "the bus does not know what the policy names"

# The check, on the examples, as the first steps say.
cp /usr/share/doc/dov-dbus/examples/{power_manage,oem_profile}.conf /etc/
dov-config-check >/dev/null || fail "the examples are not good"
rm /etc/power_manage.conf
status=0
dov-config-check >/dev/null || status=$?
[ "$status" -eq 5 ] || fail "no configuration, and dov-config-check says $status"
rm /etc/oem_profile.conf
dov-watch --version >/dev/null
dov-controller --version >/dev/null
man -w dov-dbus dov-watch dov-controller dov-config-check power_manage.conf oem_profile.conf \
    >/dev/null

# A client finds the interfaces.
cp -r /usr/share/doc/dov-dbus-dev/examples /tmp/client
cmake -S /tmp/client -B /tmp/client/build -G Ninja >/tmp/client.log 2>&1 &&
    cmake --build /tmp/client/build >>/tmp/client.log 2>&1 || fail "$(cat /tmp/client.log)"
[ -e "$(pkg-config --variable=interfaces_dir dov-dbus)/com.quorin.system.atx.xml" ] ||
    fail "pkg-config does not lead to the interfaces"
[ -e "$(pkg-config --variable=objects dov-dbus)" ] ||
    fail "pkg-config does not lead to the catalogue of objects"

/usr/bin/python3 -c 'import dov' || fail "Python does not find its module"

# Another port, by the commands of the manual.
awk '/^## / { on = /Another port/ } on && /^    / && !/udevadm/' \
    docs/integration.md >/tmp/another-port
bash -e /tmp/another-port
grep -q '^KERNEL=="ttyUSB2"' /etc/udev/rules.d/60-dov-dbus.rules ||
    fail "the other port has not got the name"
rm /etc/udev/rules.d/60-dov-dbus.rules

# An upgrade restarts a daemon that runs, and no other; a removal stops it.
dpkg --install dov-dbus_*.deb >/tmp/upgrade.log 2>&1 || fail "$(cat /tmp/upgrade.log)"
asked_for try-restart || fail "an upgrade does not restart the daemon"
! asked_for 'start|restart|stop|enable' || fail "an upgrade does more than restart the daemon"

dpkg --purge python3-dov dov-panel dov-dbus-wireshark dov-dbus-dev dov-dbus-tools dov-dbus \
    >/tmp/purge.log 2>&1 || fail "$(cat /tmp/purge.log)"
asked_for stop || fail "a removal does not stop the daemon"
traces >/tmp/after
diff /tmp/before /tmp/after || fail "the packages leave traces"
