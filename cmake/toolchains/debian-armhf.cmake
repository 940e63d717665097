# For 32-bit ARM with a floating-point unit, on Debian of another architecture.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(triplet arm-linux-gnueabihf)
set(emulated arm)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
