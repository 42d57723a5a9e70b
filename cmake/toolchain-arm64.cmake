# ARM with 8-byte pointers; char is unsigned.
set(CAMAPI_ARCH arm64)
set(CAMAPI_TRIPLET aarch64-linux-gnu)
set(CAMAPI_EMULATOR qemu-aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-cross.cmake")
