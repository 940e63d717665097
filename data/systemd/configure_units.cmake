# Writes the units into ${dov_units}, for programs below the prefix. The configuration does it, and
# the installation again, since it may be told another prefix. Beside them is the drop-in that has
# the daemon open the tap's line.
get_filename_component(DOV_SBINDIR "${CMAKE_INSTALL_SBINDIR}" ABSOLUTE
  BASE_DIR "${CMAKE_INSTALL_PREFIX}")
get_filename_component(DOV_BINDIR "${CMAKE_INSTALL_BINDIR}" ABSOLUTE
  BASE_DIR "${CMAKE_INSTALL_PREFIX}")
foreach(file dov-dbus.service dov-line-tap.service dov-metrics.service dov-panel.service
             tap.conf.example)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${file}.in" "${dov_units}/${file}" @ONLY)
endforeach()
