# Debian packages by `cpack`: one for each component of Install.cmake.
set(CAMAPI_PACKAGE_MAINTAINER "" CACHE STRING
  "Whom the Debian packages name as their maintainer: NAME <ADDRESS>; empty: DEBFULLNAME and DEBEMAIL")
# Whoever builds a package answers for it, named as Debian's tools do it; else those whom LICENSE names.
set(camapi_maintainer "${CAMAPI_PACKAGE_MAINTAINER}")
if(NOT camapi_maintainer AND DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
  set(camapi_maintainer "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
elseif(NOT camapi_maintainer)
  set(camapi_maintainer "camapi-onvif developers <camapi-onvif@localhost>")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(CAMAPI_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
# Each component has its own summary: the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
# For what other packages are linked with.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${camapi_maintainer}")
set(camapi_same_library "libcamapi-onvif${camapi_interface_version} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "libcamapi-onvif${camapi_interface_version}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/triggers")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
  "ONVIF camera driver for a network video recorder
A driver library that the recorder's server loads: one object per camera,
plain operations that return a result code, no threads of its own.
It reads what a camera can do, sets its streams, moves its lens and keeps
its presets.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcamapi-onvif-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${camapi_same_library}, libxml2-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "ONVIF camera driver for a network video recorder, for development
The headers, the static library, a CMake package and a pkg-config file for
servers that load libcamapi-onvif, and its documents.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME camapi-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${camapi_same_library}")
if(CAMAPI_HAVE_STREAMING)
  # The encoders of the simulated camera's streams.
  set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS
    "gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, gstreamer1.0-plugins-bad, gstreamer1.0-libav")
endif()
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "workbench for ONVIF cameras, and a simulated ONVIF camera
camctl tells in one command why a camera does not work with a recorder:
cause, evidence and remedy. simcam is a strict simulated camera over HTTP
and RTSP, which can be told to misbehave as real cameras do.")

# The programs are linked with libraries that no installed package has.
foreach(component IN ITEMS LIBRARY TOOLS)
  set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
endforeach()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")

string(TIMESTAMP camapi_package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${PROJECT_SOURCE_DIR}/cmake/FinishPackage.cmake.in" "${PROJECT_BINARY_DIR}/FinishPackage.cmake" @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/FinishPackage.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/RepackLibrary.cmake")
# Of the archive of the sources.
set(CPACK_SOURCE_IGNORE_FILES "${PROJECT_SOURCE_DIR}/build/" "/\\.git/")
include(CPack)
