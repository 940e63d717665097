# What the toolchain files here share: Debian's cross compiler for ${triplet}, and the libraries of
# Debian's packages for it, which lie beside the machine's own. Tests run under
# QEMU's emulator of a program, if it is there, as tools/cross/emulate has it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_LIBRARY_ARCHITECTURE "${triplet}")
set(CMAKE_C_COMPILER "${triplet}-gcc")
set(CMAKE_CXX_COMPILER "${triplet}-g++")
set(ENV{PKG_CONFIG_LIBDIR}
  "/usr/local/lib/${triplet}/pkgconfig:/usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig")

find_program(DOV_EMULATOR NAMES "qemu-${emulated}-static" "qemu-${emulated}")
if(DOV_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../tools/cross/emulate")
endif()
