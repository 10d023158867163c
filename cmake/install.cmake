# What is installed, and the packages. Two components: "uwugit" is what runs, "development" is what
# programs are built with. The module and its companion lie in lib/uwugit below the prefix, whatever the
# system calls its folder of libraries: the command looks there, from where it lies itself.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME uwugit)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/uwugithost)

install(TARGETS uwugit RUNTIME)
install(TARGETS uwugit_p libgit2_companion LIBRARY DESTINATION lib/uwugit)
install(TARGETS uwugithost_shared EXPORT uwugithost
        LIBRARY NAMELINK_COMPONENT development)
install(FILES ${CMAKE_BINARY_DIR}/share/man/man1/uwugit.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_BINARY_DIR}/share/man/man7/uwugit-functions.7
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
install(FILES completions/uwugit.bash RENAME uwugit
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
# zsh looks elsewhere for what is in packages: Debian's is a folder for them.
install(FILES completions/_uwugit EXCLUDE_FROM_ALL
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES completions/_uwugit COMPONENT unpackaged
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
# As in the sources, so that the links in them lead somewhere.
install(FILES README.md TYPE DOC)
install(FILES LICENSE TYPE DOC RENAME copyright)
install(DIRECTORY docs examples TYPE DOC PATTERN "*.in" EXCLUDE)
install(FILES cmake/changelog TYPE DOC EXCLUDE_FROM_ALL)

install(TARGETS uwugithost EXPORT uwugithost ARCHIVE COMPONENT development)
# It is fifty times as large with its debugging information and with what only link-time optimisation by the
# very same compiler can use.
install(CODE "execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --enable-deterministic-archives
    --remove-section=.gnu.lto_* --remove-section=.gnu.debuglto_* libuwugithost.a
  WORKING_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}\"
  COMMAND_ERROR_IS_FATAL ANY)" COMPONENT development)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libuwugithost-dev RENAME copyright
        COMPONENT development)
install(FILES cmake/changelog DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libuwugithost-dev
        COMPONENT development EXCLUDE_FROM_ALL)
install(DIRECTORY include/uwugit host/include/uwugithost TYPE INCLUDE COMPONENT development)
install(EXPORT uwugithost NAMESPACE uwugithost:: FILE uwugithost-config.cmake
        DESTINATION ${package_folder} COMPONENT development)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/uwugithost-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/uwugithost-config-version.cmake
        DESTINATION ${package_folder} COMPONENT development)
# The prefix is found from where the file lies, so that the tree can be moved.
file(RELATIVE_PATH prefix_from_here /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/uwugithost.pc.in uwugithost.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/uwugithost.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Debugging information goes to a file of its own beside each binary, in a folder where debuggers look.
# The packages have it in packages of their own instead.
configure_file(cmake/separate_debug.cmake.in separate_debug.cmake @ONLY)
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/separate_debug.cmake COMPONENT unpackaged)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "The uwugit developers <uwugit@localhost>")
set(CPACK_COMPONENTS_ALL uwugit development)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/compress_documents.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/mend_packages.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_UWUGIT_PACKAGE_NAME uwugit)
set(CPACK_DEBIAN_UWUGIT_PACKAGE_SECTION vcs)
set(CPACK_DEBIAN_UWUGIT_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libuwugithost-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "uwugit (= ${PROJECT_VERSION}), libsodium-dev")
set(CPACK_COMPONENT_UWUGIT_DESCRIPTION
"The command uwugit shows results as tables, CSV, JSON and patches, answers
SQL and runs Lua programs. The module is for host programs that load it.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"Headers and libraries with which programs in C++, in C and in all languages
that call C host the module.")
include(CPack)
