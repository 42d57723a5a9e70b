# camapi_add_test(NAME SOURCES ... LIBRARIES ... [LABELS ...])
# A GoogleTest program with the common main of tests/support, one CTest entry per TEST. The tests are found when
# CTest starts, not while building, so that a program that cannot run fails the run and not the build.
# LABELS defaults to the folder's name. `sleep` is replaced at link level: link static libraries, because a shared
# one keeps its own `sleep`.
include(GoogleTest)

function(camapi_add_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(TEST_UNPARSED_ARGUMENTS OR NOT TEST_SOURCES)
    message(FATAL_ERROR "camapi_add_test(${name}): SOURCES are missing or unknown arguments: ${TEST_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT TEST_LABELS)
    get_filename_component(TEST_LABELS "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  endif()
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LIBRARIES} testsupport camapi-settings)
  target_link_options(${name} PRIVATE "LINKER:--wrap=sleep")
  # Beside the tree's programs, but not among them.
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests-bin")
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES TIMEOUT 120 LABELS "${TEST_LABELS}")
endfunction()
