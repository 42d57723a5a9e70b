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
target_include_directories(camapi-settings INTERFACE "${CAMAPI_INCLUDE_DIR}")
# 64-bit file sizes and times also where `long` has 32 bits: a camera may tell of a year after 2038.
target_compile_definitions(camapi-settings INTERFACE _FILE_OFFSET_BITS=64)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(camapi-settings INTERFACE _TIME_BITS=64)
endif()
target_compile_options(camapi-settings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast $<$<BOOL:${CAMAPI_WARNINGS_AS_ERRORS}>:-Werror>)

# Several sources compiled as one: what a source has for itself is then in what the compiler takes for a header.
if(CMAKE_UNITY_BUILD)
  target_compile_options(camapi-settings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()

# Installed programs and libraries find the libraries wherever the whole is put.
file(RELATIVE_PATH camapi_libraries_from_programs "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/${camapi_libraries_from_programs}")

# What programs that were linked with a library find it by. While the first number of the version is 0, another second
# number is another interface.
set(camapi_interface_version "${PROJECT_VERSION_MAJOR}")
if(PROJECT_VERSION_MAJOR EQUAL 0)
  string(APPEND camapi_interface_version ".${PROJECT_VERSION_MINOR}")
endif()

# camapi_version_library(TARGET): version and name of a shared library for the loader.
function(camapi_version_library target)
  set_target_properties(${target} PROPERTIES VERSION "${PROJECT_VERSION}" SOVERSION "${camapi_interface_version}")
endfunction()

# camapi_public_headers(TARGET HEADERS...): headers of the current folder that are installed with the library.
function(camapi_public_headers target)
  list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE headers)
  set_target_properties(${target} PROPERTIES PUBLIC_HEADER "${headers}")
endfunction()
