# Builds for another Debian architecture, with the libraries that scripts/sysroot unpacks.
#
# Needs    DEBIAN_ARCHITECTURE, and what root.cmake needs but for the folder.
get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${DEBIAN_ARCHITECTURE} ABSOLUTE)
if(NOT EXISTS ${CMAKE_SYSROOT})
    message(FATAL_ERROR "${CMAKE_SYSROOT} is not there: scripts/sysroot ${DEBIAN_ARCHITECTURE} makes it")
endif()
include(${CMAKE_CURRENT_LIST_DIR}/root.cmake)
