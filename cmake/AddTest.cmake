# camapi_add_test(NAME SOURCES ... LIBRARIES ... [LABELS ...] [TIMEOUT SECONDS] [COST SECONDS] [STREAMING])
# A GoogleTest program with the common main of tests/support, one CTest entry per TEST. The tests are found when
# CTest starts, not while building, so that a program that cannot run fails the run and not the build.
# LABELS defaults to the folder's name, TIMEOUT, which each TEST has for itself, to 120. `sleep` is replaced at link
# level: link static libraries, because a shared one keeps its own `sleep`. STREAMING: the program uses GStreamer.
#
# With sanitizers the whole program is one CTest entry of the program's name, with half an hour for all of it, and its
# report is test-reports/NAME.xml of the build tree: a program then takes far longer to start than most tests take. COST,
# about what all of it takes, lets the longest begin first.
#
# The tests themselves are compiled without optimisation and without sanitizers, and share the precompiled headers of
# testsupport-test: what they test is built as the preset says, and they are most of what there is to compile. The
# sanitizers still see every allocation of theirs.
include(GoogleTest)

set(camapi_test_options -O0 -g1 -fno-sanitize=all)
set(camapi_sanitized OFF)
# So that a test can know that what it tests has sanitizers.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(camapi_sanitized ON)
  list(APPEND camapi_test_options -DCAMAPI_SANITIZED)
endif()
# So that a test can know that it runs under emulation, which is slow and lacks some of the system's calls.
set(camapi_slowness 1)
if(CMAKE_CROSSCOMPILING_EMULATOR)
  list(APPEND camapi_test_options -DCAMAPI_EMULATED)
  set(camapi_slowness 10)
endif()

# What GLib keeps for the life of the process is told from leaks by its callers, for which the leak checker needs call
# stacks that leave nobody out. They cost time, so that only tests that use GStreamer have them.
set(camapi_streaming_environment "ASAN_OPTIONS=fast_unwind_on_malloc=0:malloc_context_size=12")

function(camapi_add_test name)
  cmake_parse_arguments(TEST "STREAMING" "TIMEOUT;COST" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(TEST_UNPARSED_ARGUMENTS OR NOT TEST_SOURCES)
    message(FATAL_ERROR "camapi_add_test(${name}): SOURCES are missing or unknown arguments: ${TEST_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT TEST_LABELS)
    get_filename_component(TEST_LABELS "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  endif()
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 120)
  endif()
  if(NOT TEST_COST)
    set(TEST_COST 0)
  endif()
  math(EXPR TEST_TIMEOUT "${TEST_TIMEOUT} * ${camapi_slowness}")
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LIBRARIES} testsupport camapi-settings)
  target_compile_options(${name} PRIVATE ${camapi_test_options})
  if(name STREQUAL "testsupport-test")
    target_precompile_headers(${name} PRIVATE
      <gmock/gmock.h> <gtest/gtest.h> <algorithm> <chrono> <functional> <map> <memory> <string> <thread> <vector>)
  else()
    target_precompile_headers(${name} REUSE_FROM testsupport-test)
  endif()
  target_link_options(${name} PRIVATE "LINKER:--wrap=sleep")
  # Beside the tree's programs, but not among them.
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests-bin")
  set(properties TIMEOUT ${TEST_TIMEOUT} LABELS "${TEST_LABELS}")
  if(TEST_STREAMING)
    list(APPEND properties ENVIRONMENT "${camapi_streaming_environment}")
  endif()
  if(camapi_sanitized)
    add_test(NAME ${name} COMMAND ${name} "--gtest_output=xml:${PROJECT_BINARY_DIR}/test-reports/${name}.xml")
    set_tests_properties(${name} PROPERTIES ${properties} TIMEOUT 1800 COST ${TEST_COST})
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
  endif()
endfunction()
