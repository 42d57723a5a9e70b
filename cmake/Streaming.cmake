# GStreamer, for what streams and plays: the RTSP side of the simulated camera, and the workbench's player.
# It is large, so that everything else must build without it.
#   CAMAPI_STREAMING       AUTO (when it is installed), ON (an error when it is not) or OFF
#   CAMAPI_HAVE_STREAMING  whether the imported target PkgConfig::gstreamer exists
set(CAMAPI_STREAMING AUTO CACHE STRING "Build RTSP streaming and playing: AUTO, ON or OFF")
set_property(CACHE CAMAPI_STREAMING PROPERTY STRINGS AUTO ON OFF)

set(CAMAPI_HAVE_STREAMING OFF)
if(CAMAPI_STREAMING STREQUAL "AUTO")
  find_package(PkgConfig)
elseif(CAMAPI_STREAMING)
  find_package(PkgConfig REQUIRED)
endif()

if(CAMAPI_STREAMING AND PkgConfig_FOUND)
  set(streaming_modules gstreamer-1.0>=1.22 gstreamer-app-1.0 gstreamer-rtsp-1.0 gstreamer-rtsp-server-1.0 gio-2.0)
  if(CAMAPI_STREAMING STREQUAL "AUTO")
    pkg_check_modules(gstreamer QUIET IMPORTED_TARGET ${streaming_modules})
  else()
    pkg_check_modules(gstreamer REQUIRED IMPORTED_TARGET ${streaming_modules})
  endif()
  if(gstreamer_FOUND)
    set(CAMAPI_HAVE_STREAMING ON)
  endif()
endif()
message(STATUS "RTSP streaming: ${CAMAPI_HAVE_STREAMING}")
