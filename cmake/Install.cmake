# What `cmake --install` puts where, as the components
#   library      the shared libraries
#   development  headers, static library, CMake package, pkg-config file, documents
#   tools        the programs
# Another framework than that of this tree installs itself; the CMake package, which names it, is then left out.
include(CMakePackageConfigHelpers)

set(camapi_headers "${CMAKE_INSTALL_INCLUDEDIR}/camapi-onvif")
set(camapi_package "${CMAKE_INSTALL_LIBDIR}/cmake/camapi-onvif")
set(camapi_documents "${CMAKE_INSTALL_DOCDIR}")
if(NOT PROJECT_IS_TOP_LEVEL)
  # The other is that of the project around this one, which has a README of its own.
  set(camapi_documents "${CMAKE_INSTALL_DATAROOTDIR}/doc/${PROJECT_NAME}")
endif()

function(camapi_install_library target folder)
  install(TARGETS ${target}
    EXPORT camapi-onvif-targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    PUBLIC_HEADER DESTINATION "${camapi_headers}/${folder}" COMPONENT development)
endfunction()

camapi_install_library(camapi-onvif onvif)
camapi_install_library(camapi-onvif-static onvif)

if(CAMAPI_HAS_OWN_PLATFORM)
  camapi_install_library(camapi-platform platform)
  install(EXPORT camapi-onvif-targets
    NAMESPACE camapi::
    DESTINATION "${camapi_package}"
    COMPONENT development)
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/camapi-onvif-config.cmake.in" "${PROJECT_BINARY_DIR}/camapi-onvif-config.cmake"
    INSTALL_DESTINATION "${camapi_package}"
    NO_SET_AND_CHECK_MACRO)
  # While the first number is 0, another second number is another interface.
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/camapi-onvif-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
  install(
    FILES "${PROJECT_BINARY_DIR}/camapi-onvif-config.cmake" "${PROJECT_BINARY_DIR}/camapi-onvif-config-version.cmake"
    DESTINATION "${camapi_package}"
    COMPONENT development)

  # From the file's own place to the root of the installation, which may be moved, and on from there.
  file(RELATIVE_PATH camapi_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
  file(RELATIVE_PATH camapi_libdir "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  file(RELATIVE_PATH camapi_includedir "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/camapi-onvif.pc.in" "${PROJECT_BINARY_DIR}/camapi-onvif.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/camapi-onvif.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT development)
endif()

install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${camapi_documents}" COMPONENT library)
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  DESTINATION "${camapi_documents}"
  COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/"
  DESTINATION "${camapi_documents}/docs"
  COMPONENT development
  FILES_MATCHING PATTERN "*.md")

if(CAMAPI_BUILD_TOOLS)
  install(TARGETS camctl simcam RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
endif()
