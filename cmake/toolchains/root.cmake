# Builds for the machine whose libraries and headers lie below a folder, with its cross compiler.
#
# Needs    CMAKE_SYSROOT, the compiler's prefix COMPILER_PREFIX, CMAKE_LIBRARY_ARCHITECTURE, CMAKE_SYSTEM_PROCESSOR.
# Gives    what searches in that folder; programs that are run while building come from this machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${COMPILER_PREFIX}-gcc)
set(CMAKE_CXX_COMPILER ${COMPILER_PREFIX}-g++)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
# A folder of Debian's has its libraries below one of the architecture's name, others have not.
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(PKG_CONFIG_FOLDERS lib/${CMAKE_LIBRARY_ARCHITECTURE} lib share)
list(TRANSFORM PKG_CONFIG_FOLDERS REPLACE ".+" "${CMAKE_SYSROOT}/usr/\\0/pkgconfig")
list(JOIN PKG_CONFIG_FOLDERS ":" PKG_CONFIG_FOLDERS)
set(ENV{PKG_CONFIG_LIBDIR} ${PKG_CONFIG_FOLDERS})
# The linker finds what the libraries need themselves.
foreach(folder lib usr/lib lib/${CMAKE_LIBRARY_ARCHITECTURE} usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
    add_link_options(-Wl,-rpath-link,${CMAKE_SYSROOT}/${folder})
endforeach()
