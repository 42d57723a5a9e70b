# Tests of the shared library; those of the driver's behaviour link the static one.
camapi_add_test(slot-table-test
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/command_lines.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/slot_table_test.cpp"
  LIBRARIES camapi-onvif
  LABELS onvif)
target_compile_definitions(slot-table-test PRIVATE CAMAPI_NM="${CMAKE_NM}")

# Loads the library itself: it must not be linked with it, only with the platform, as the server is.
camapi_add_test(loading-test
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/command_lines.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/loading_test.cpp"
  LIBRARIES camapi-platform
  LABELS onvif)
add_dependencies(loading-test camapi-onvif)
target_compile_definitions(loading-test PRIVATE
  CAMAPI_ONVIF_LIBRARY="$<TARGET_FILE:camapi-onvif>"
  CAMAPI_ONVIF_SYMBOLS="${PROJECT_SOURCE_DIR}/onvif/camapi-onvif.symbols"
  CAMAPI_NM="${CMAKE_NM}"
  CAMAPI_READELF="${CMAKE_READELF}")
