# Builds for another Debian architecture, with its cross compiler and the libraries that scripts/sysroot unpacks.
#
# Needs    DEBIAN_ARCHITECTURE, its compiler's prefix COMPILER_PREFIX, CMAKE_LIBRARY_ARCHITECTURE, CMAKE_SYSTEM_PROCESSOR.
# Gives    CMAKE_SYSROOT and what searches in it; programs that are run while building come from this machine.
set(CMAKE_SYSTEM_NAME Linux)
get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${DEBIAN_ARCHITECTURE} ABSOLUTE)
if(NOT EXISTS ${CMAKE_SYSROOT})
    message(FATAL_ERROR "${CMAKE_SYSROOT} is not there: scripts/sysroot ${DEBIAN_ARCHITECTURE} makes it")
endif()

set(CMAKE_C_COMPILER ${COMPILER_PREFIX}-gcc)
set(CMAKE_CXX_COMPILER ${COMPILER_PREFIX}-g++)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
# The linker finds what the libraries need themselves.
add_link_options(-Wl,-rpath-link,${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
                 -Wl,-rpath-link,${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
