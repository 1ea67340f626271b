# What an installation holds: the command with its data, the libraries with their headers, and the
# package files for find_package(ohmwise).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ohmwise)
foreach(part base platform shapeutil locations catalogue sort lang export settings crossref schematic wiring checking comparing renumbering reporting files drawing vsdx database
        forms spreadsheet settings_file host)
  set_target_properties(ohmwise_${part} PROPERTIES EXPORT_NAME ${part})
  install(TARGETS ohmwise_${part} EXPORT ohmwise_targets)
endforeach()
install(EXPORT ohmwise_targets NAMESPACE ohmwise:: DESTINATION ${package_folder})
foreach(folder base platform shapeutil catalogue sort lang export settings crossref schematic)
  install(DIRECTORY ${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ohmwise
    FILES_MATCHING PATTERN "*.h")
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ohmwise-config.cmake.in
  ${PROJECT_BINARY_DIR}/ohmwise-config.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ohmwise-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ohmwise-config.cmake
  ${PROJECT_BINARY_DIR}/ohmwise-config-version.cmake DESTINATION ${package_folder})
