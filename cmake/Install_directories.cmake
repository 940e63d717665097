# Where the files go that others on the machine look for: below the prefix, unless absolute.
# tests/packaging/install.py holds each of them against what is installed.

include(GNUInstallDirs)
set(DOV_UNIT_DIR "lib/systemd/system" CACHE STRING "systemd's units")
set(DOV_UDEV_RULES_DIR "lib/udev/rules.d" CACHE STRING "udev's rules")
set(DOV_SYSUSERS_DIR "lib/sysusers.d" CACHE STRING "Users and groups that systemd-sysusers makes")
set(DOV_BUS_POLICY_DIR "${CMAKE_INSTALL_DATADIR}/dbus-1/system.d" CACHE STRING
  "Policies of the system bus")
set(DOV_BUS_SERVICES_DIR "${CMAKE_INSTALL_DATADIR}/dbus-1/system-services" CACHE STRING
  "Services that the system bus starts")
set(DOV_BUS_INTERFACES_DIR "${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces" CACHE STRING
  "Descriptions of bus interfaces")
set(DOV_PYTHON_DIR "lib/python3/dist-packages" CACHE STRING "Modules of Python")
set(DOV_COMPLETION_DIR "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" CACHE STRING
  "Completions for bash")
