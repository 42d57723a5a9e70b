# Runs after the packages were made. CPack has the library's package run ldconfig in scripts of its own; its trigger does
# that once for all packages, and needs no shell. The scripts are taken out again.
set(content "${CPACK_TEMPORARY_DIRECTORY}/repacked")
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "/${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME}_[^/]*\\.deb$")
    file(REMOVE_RECURSE "${content}")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${content}" COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE "${content}/DEBIAN/postinst" "${content}/DEBIAN/postrm")
    execute_process(COMMAND dpkg-deb --root-owner-group --build "${content}" "${package}" COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE "${content}")
  endif()
endforeach()
