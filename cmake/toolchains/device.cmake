# Builds for a TV.
#
#   -DQUORVEX_DEVICE_ROOT=FOLDER       the device's libraries and headers, with those of GLib and jsoncpp
#   -DQUORVEX_DEVICE_COMPILER=PREFIX   of PREFIX-gcc and PREFIX-g++, as in arm-linux-gnueabihf
# Without a compiler it is this machine's, for this machine.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUORVEX_DEVICE_ROOT QUORVEX_DEVICE_COMPILER)
if(QUORVEX_DEVICE_COMPILER)
    if(NOT IS_DIRECTORY "${QUORVEX_DEVICE_ROOT}")
        message(FATAL_ERROR "\"${QUORVEX_DEVICE_ROOT}\" is no folder: -DQUORVEX_DEVICE_ROOT=FOLDER names the device's root")
    endif()
    get_filename_component(COMPILER_PREFIX "${QUORVEX_DEVICE_COMPILER}" NAME)
    string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${COMPILER_PREFIX})
    set(CMAKE_LIBRARY_ARCHITECTURE ${COMPILER_PREFIX})
    set(COMPILER_PREFIX ${QUORVEX_DEVICE_COMPILER})
    set(CMAKE_SYSROOT ${QUORVEX_DEVICE_ROOT})
    include(${CMAKE_CURRENT_LIST_DIR}/root.cmake)
endif()
