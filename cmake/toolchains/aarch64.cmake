# 64-bit ARM; run by qemu-user.
set(DEBIAN_ARCHITECTURE arm64)
set(COMPILER_PREFIX aarch64-linux-gnu)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${CMAKE_SYSROOT})
set(QEMU_USER ON)
