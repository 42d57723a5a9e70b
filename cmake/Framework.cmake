# The server's camera-driver framework: the folder platform/, another folder that defines the target `camapi-platform`,
# or that target where the project that takes this one in has defined it before. The target brings the headers
# "platform/..." with it; the driver is written against them alone.
#   CAMAPI_PLATFORM_DIR      the folder
#   CAMAPI_HAS_OWN_PLATFORM  whether it is the one of this tree
#   CAMAPI_INCLUDE_DIR       where the tree's headers are included from
set(CAMAPI_PLATFORM_DIR "${PROJECT_SOURCE_DIR}/platform" CACHE PATH "Folder that defines the target camapi-platform")

file(REAL_PATH "${CAMAPI_PLATFORM_DIR}" camapi_platform BASE_DIRECTORY "${CMAKE_SOURCE_DIR}")
file(REAL_PATH "${PROJECT_SOURCE_DIR}/platform" camapi_own_platform)
if(camapi_platform STREQUAL camapi_own_platform AND NOT TARGET camapi-platform)
  set(CAMAPI_HAS_OWN_PLATFORM ON)
  set(CAMAPI_INCLUDE_DIR "${PROJECT_SOURCE_DIR}")
else()
  # A view of the tree without platform/: a header that the other framework lacks must be missing, not come from there.
  set(CAMAPI_HAS_OWN_PLATFORM OFF)
  set(CAMAPI_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include")
  file(MAKE_DIRECTORY "${CAMAPI_INCLUDE_DIR}")
  foreach(folder IN ITEMS bench camctl dupfromhx fuzz manual onvif simcam tests)
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${folder}" "${CAMAPI_INCLUDE_DIR}/${folder}" SYMBOLIC)
  endforeach()
endif()

# Defines the framework's targets.
macro(camapi_add_framework)
  if(NOT TARGET camapi-platform)
    if(NOT EXISTS "${camapi_platform}/CMakeLists.txt")
      message(FATAL_ERROR
        "CAMAPI_PLATFORM_DIR is ${camapi_platform}, which has no CMakeLists.txt. "
        "Name a folder that defines the target camapi-platform.")
    endif()
    add_subdirectory("${camapi_platform}" platform)
    if(NOT TARGET camapi-platform)
      message(FATAL_ERROR "${camapi_platform}/CMakeLists.txt does not define the target camapi-platform")
    endif()
  endif()
  # A name with colons can only be a target: a misspelt one is an error and no library to search for.
  if(NOT TARGET camapi::platform)
    add_library(camapi::platform ALIAS camapi-platform)
  endif()
endmacro()
