# dov_dbus_add_proxies(<variable> [interface...]): appends the sources of Qt client proxies, all of
# them or those of the interfaces named, to a list. Needs Qt5::DBus.
get_filename_component(DOV_DBUS_INTERFACES_DIR
  "${CMAKE_CURRENT_LIST_DIR}/../../../share/dbus-1/interfaces" ABSOLUTE)
include(CMakeFindDependencyMacro)
find_dependency(Qt5 COMPONENTS Core DBus)

function(dov_dbus_add_proxies variable)
  set(files)
  foreach(interface ${ARGN})
    list(APPEND files "${DOV_DBUS_INTERFACES_DIR}/${interface}.xml")
  endforeach()
  if(NOT ARGN)
    file(GLOB files "${DOV_DBUS_INTERFACES_DIR}/com.quorin.system.*.xml")
  endif()
  set(sources ${${variable}})
  foreach(file ${files})
    get_filename_component(name "${file}" NAME_WLE)
    string(REPLACE "." "_" name "${name}")
    qt5_add_dbus_interface(sources "${file}" "${name}_proxy")
  endforeach()
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()
