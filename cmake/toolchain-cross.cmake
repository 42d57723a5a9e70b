# Shared by the toolchain files of other architectures, which set before they include it:
#   CAMAPI_ARCH      Debian's name of the architecture; its sysroot is build/sysroot-<that>
#   CAMAPI_TRIPLET   GNU's name of it, of which the cross compiler and the folders of libraries are called
#   CAMAPI_EMULATOR  the user-mode emulator that runs its programs here
# The sysroot is a folder with the libraries of that architecture; `./test --arch` makes it (cmake/cross.sh).

get_filename_component(camapi_root "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)
set(CMAKE_SYSROOT "${camapi_root}/build/sysroot-${CAMAPI_ARCH}")
if(NOT EXISTS "${CMAKE_SYSROOT}/usr/include")
  message(FATAL_ERROR "There is no sysroot in build/sysroot-${CAMAPI_ARCH}; make it with: ./test --arch ${CAMAPI_ARCH}")
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER "${CAMAPI_TRIPLET}-g++")
set(CMAKE_LIBRARY_ARCHITECTURE "${CAMAPI_TRIPLET}")

# Programs are this machine's, all else the sysroot's.
set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/${CAMAPI_TRIPLET}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# CTest starts programs with it.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CAMAPI_EMULATOR};-L;${CMAKE_SYSROOT}")
