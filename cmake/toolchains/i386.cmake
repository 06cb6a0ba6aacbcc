# 32-bit x86. A 64-bit kernel runs it without an emulator, only the loader and the libraries are the unpacked ones.
set(DEBIAN_ARCHITECTURE i386)
set(COMPILER_PREFIX i686-linux-gnu)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
add_link_options(-Wl,--dynamic-linker,${CMAKE_SYSROOT}/lib/ld-linux.so.2)
# The last folder has the sanitizers' libraries, which belong to the compiler.
set(LIBRARIES ${CMAKE_SYSROOT}/usr/lib/i386-linux-gnu)
set(FOLDERS "${CMAKE_SYSROOT}/lib/i386-linux-gnu;${LIBRARIES};${LIBRARIES}/pulseaudio;/usr/i686-linux-gnu/lib")
list(JOIN FOLDERS ":" FOLDERS)
set(CMAKE_CROSSCOMPILING_EMULATOR env LD_LIBRARY_PATH=${FOLDERS})
