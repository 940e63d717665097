# The manual pages, what an integrator reads, and the examples that both speak of.
set(manual "${CMAKE_CURRENT_SOURCE_DIR}/man")
install(FILES ${manual}/dov-dbus.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES ${manual}/oem_profile.conf.5 ${manual}/power_manage.conf.5
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)

set(documents "${PROJECT_SOURCE_DIR}/docs")
install(FILES ${documents}/dbus-api.md ${documents}/integration.md ${documents}/mock.md
  ${documents}/porting.md ${documents}/protocol.md ${documents}/python.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(examples "${CMAKE_CURRENT_SOURCE_DIR}/examples")
install(FILES systemd/debug.conf.example
  ${examples}/power_manage.conf ${examples}/oem_profile.conf
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES ${examples}/clients/CMakeLists.txt ${examples}/clients/client.c
  ${examples}/clients/client.cpp
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/clients COMPONENT development)
install(PROGRAMS ${examples}/clients/client.py ${examples}/clients/client.sh
  ${examples}/clients/test_client.py
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/clients COMPONENT development)

file(GLOB programs CONFIGURE_DEPENDS ${examples}/python/*.py)
install(FILES ${programs} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/python COMPONENT python)

if(DOV_TOOLS)
  install(FILES prometheus/dov-dbus.rules.yml
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT tools)
  install(FILES ${manual}/dov-config-check.1 ${manual}/dov-controller.1 ${manual}/dov-line.1
    ${manual}/dov-report.1 ${manual}/dov-watch.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES "${dov_units}/tap.conf.example"
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT tools)
  if(TARGET dissector)
    install(FILES ${manual}/dov-line-extcap.1
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT wireshark)
  endif()
  install(FILES ${documents}/controller-script.md ${documents}/dov-line.md ${documents}/dov-report.md
    ${documents}/dov-watch.md ${documents}/metrics.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tools)
endif()
if(DOV_TOOLS AND DOV_PANEL)
  install(FILES ${manual}/dov-panel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT panel)
  install(FILES ${documents}/panel.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT panel)
endif()
