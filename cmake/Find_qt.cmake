# One major version of Qt for the whole build, chosen by name and never by what happens to be
# installed. The targets are used as Qt::Core and so on, whichever it is.

set(DOV_QT_MAJOR 5 CACHE STRING "Major version of Qt: 5 (5.15 or newer) or 6 (6.4 or newer)")
set_property(CACHE DOV_QT_MAJOR PROPERTY STRINGS 5 6)
set(DOV_QT_MINIMUM_5 5.15)
set(DOV_QT_MINIMUM_6 6.4)
if(NOT DEFINED DOV_QT_MINIMUM_${DOV_QT_MAJOR})
  message(FATAL_ERROR "DOV_QT_MAJOR is \"${DOV_QT_MAJOR}\", and must be 5 or 6")
endif()
set(DOV_QT_MINIMUM ${DOV_QT_MINIMUM_${DOV_QT_MAJOR}})
set(QT_DEFAULT_MAJOR_VERSION ${DOV_QT_MAJOR})

# dov_find_qt(<component>...): a macro, because moc is found by variables of the caller's scope.
macro(dov_find_qt)
  find_package(Qt${DOV_QT_MAJOR} ${DOV_QT_MINIMUM} REQUIRED COMPONENTS ${ARGN})
endmacro()
