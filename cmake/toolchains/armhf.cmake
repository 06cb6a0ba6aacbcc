# 32-bit ARM with a floating-point unit, the processor of most TVs; run by qemu-user.
set(DEBIAN_ARCHITECTURE armhf)
set(COMPILER_PREFIX arm-linux-gnueabihf)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${CMAKE_SYSROOT})
set(QEMU_USER ON)
