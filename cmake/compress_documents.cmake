# Run by CPack before it packs: Debian has manual pages and changelogs compressed. The time is left out of
# the compressed files, so that the same sources make the same package.
file(GLOB documents "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man?/*.[17]"
                    "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog")
foreach(document IN LISTS documents)
  execute_process(COMMAND gzip -9n ${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
