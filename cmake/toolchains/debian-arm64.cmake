# For 64-bit ARM, on Debian of another architecture.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triplet aarch64-linux-gnu)
set(emulated aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
