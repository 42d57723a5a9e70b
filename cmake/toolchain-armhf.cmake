# Little-endian ARM with hardware floating point: 4-byte pointers and long; char is unsigned.
set(CAMAPI_ARCH armhf)
set(CAMAPI_TRIPLET arm-linux-gnueabihf)
set(CAMAPI_EMULATOR qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-cross.cmake")
