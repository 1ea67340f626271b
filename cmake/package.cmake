# The Debian package of the command: scripts/package.sh, or `cpack -G DEB` in the build folder.
# The program's half of install.cmake with what the distribution expects of a command.
set(manual ${PROJECT_BINARY_DIR}/share/man/ohmwise.1)
set(completion ${PROJECT_BINARY_DIR}/share/bash-completion/ohmwise)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/man ${PROJECT_BINARY_DIR}/share/bash-completion)
add_custom_command(
  OUTPUT ${manual}.gz ${completion}
  COMMAND ohmwise --manual-page > ${manual}
  COMMAND gzip -9 --force --no-name ${manual}
  COMMAND ohmwise --bash-completion > ${completion}
  DEPENDS ohmwise
  COMMENT "Manual page and completion of the command"
  VERBATIM)
add_custom_target(ohmwise_manual ALL DEPENDS ${manual}.gz ${completion})
add_dependencies(ohmwise_installation ohmwise_manual)
install(FILES ${manual}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ohmwise)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL program)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)  # ohmwise_VERSION_ARCHITECTURE.deb
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ohmwise)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_PACKAGE_VENDOR Ohmwise)
set(CPACK_PACKAGE_CONTACT "Ohmwise <maintainers@ohmwise.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "cross-reference index of electrical drawings")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
"Reads electrical schematics drawn with Microsoft Visio and keeps their
cross-reference index: references, terminals, wire numbers, location labels.
Writes reports, numbers anew, checks and compares drawings, and keeps a
catalogue of components.")
include(CPack)
