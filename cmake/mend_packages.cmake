# Run by CPack on the packages that it has made, for what it does otherwise than Debian wants: in the package
# with debugging information the checksums are of files of the build, and programs renew the linker's cache
# in place of a trigger.
set(folder ${CPACK_TEMPORARY_DIRECTORY}/mended)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  file(REMOVE_RECURSE ${folder})
  execute_process(COMMAND dpkg-deb -R ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  file(READ ${folder}/DEBIAN/md5sums sums)
  string(REGEX REPLACE "  /[^\n]*/usr/" "  usr/" sums "${sums}")
  file(WRITE ${folder}/DEBIAN/md5sums "${sums}")
  if(EXISTS ${folder}/DEBIAN/postinst)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    file(WRITE ${folder}/DEBIAN/triggers "activate-noawait ldconfig\n")
  endif()
  execute_process(COMMAND dpkg-deb --root-owner-group -Zgzip -b ${folder} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
