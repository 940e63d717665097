# Writes the unit, as ${dov_unit}, for a daemon below the prefix. The configuration does it, and the
# installation again, since it may be told another prefix.
get_filename_component(DOV_DAEMON "${CMAKE_INSTALL_SBINDIR}/dov-dbus" ABSOLUTE
  BASE_DIR "${CMAKE_INSTALL_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/dov-dbus.service.in" "${dov_unit}" @ONLY)
