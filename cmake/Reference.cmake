# The reference of the installed headers, by Doxygen where it is installed: the target `reference`.
find_program(CAMAPI_DOXYGEN doxygen)
mark_as_advanced(CAMAPI_DOXYGEN)

get_target_property(camapi_driver_headers camapi-onvif PUBLIC_HEADER)
get_target_property(camapi_platform_headers camapi-platform PUBLIC_HEADER)
set(camapi_reference_headers ${camapi_driver_headers} ${camapi_platform_headers})
list(TRANSFORM camapi_reference_headers REPLACE "(.+)" "\"\\1\"")
list(JOIN camapi_reference_headers " " camapi_reference_headers)
file(WRITE "${PROJECT_BINARY_DIR}/Doxyfile"
"@INCLUDE = \"${PROJECT_SOURCE_DIR}/docs/Doxyfile\"
PROJECT_NUMBER = ${PROJECT_VERSION}
STRIP_FROM_PATH = \"${PROJECT_SOURCE_DIR}\"
INPUT = ${camapi_reference_headers}
OUTPUT_DIRECTORY = \"${PROJECT_BINARY_DIR}/reference\"
")

if(CAMAPI_DOXYGEN)
  add_custom_target(reference
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/reference"
    COMMAND "${CAMAPI_DOXYGEN}" "${PROJECT_BINARY_DIR}/Doxyfile"
    VERBATIM)
endif()
