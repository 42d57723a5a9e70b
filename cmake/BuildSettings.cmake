# What every target of the tree is built with. Targets link `camapi-settings` privately.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

add_library(camapi-settings INTERFACE)
target_include_directories(camapi-settings INTERFACE "${PROJECT_SOURCE_DIR}")
# 64-bit file sizes also where `long` has 32 bits.
target_compile_definitions(camapi-settings INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(camapi-settings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Werror)
