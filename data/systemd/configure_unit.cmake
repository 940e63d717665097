# Writes the units, as ${dov_unit} and ${dov_tap_unit}, for programs below the prefix. The
# configuration does it, and the installation again, since it may be told another prefix. Beside the
# second is the drop-in that has the daemon open the tap's line.
get_filename_component(DOV_DAEMON "${CMAKE_INSTALL_SBINDIR}/dov-dbus" ABSOLUTE
  BASE_DIR "${CMAKE_INSTALL_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/dov-dbus.service.in" "${dov_unit}" @ONLY)
get_filename_component(DOV_LINE "${CMAKE_INSTALL_BINDIR}/dov-line" ABSOLUTE
  BASE_DIR "${CMAKE_INSTALL_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/dov-line-tap.service.in" "${dov_tap_unit}" @ONLY)
get_filename_component(DOV_TAP_UNIT_DIR "${dov_tap_unit}" DIRECTORY)
configure_file("${CMAKE_CURRENT_LIST_DIR}/tap.conf.example.in"
  "${DOV_TAP_UNIT_DIR}/tap.conf.example" @ONLY)
