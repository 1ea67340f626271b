# What an installation holds, in two halves: "program" is the command with its data, "development" the
# libraries with their headers and the files for find_package(ohmwise) and pkg-config.
include(CMakePackageConfigHelpers)
get_property(libraries GLOBAL PROPERTY OHMWISE_LIBRARIES)
get_property(modules GLOBAL PROPERTY OHMWISE_MODULES)
list(REMOVE_DUPLICATES modules)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ohmwise)
set(linked "")
foreach(library ${libraries})
  string(REPLACE ohmwise_ "" part ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${part})
  install(TARGETS ${library} EXPORT ohmwise_targets COMPONENT development)
  string(APPEND linked " -l${library}")
  get_target_property(folder ${library} SOURCE_DIR)
  file(RELATIVE_PATH place ${PROJECT_SOURCE_DIR} ${folder})
  file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ohmwise/${place}
    COMPONENT development)
endforeach()
install(EXPORT ohmwise_targets NAMESPACE ohmwise:: DESTINATION ${package_folder}
  COMPONENT development)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ohmwise-config.cmake.in
  ${PROJECT_BINARY_DIR}/ohmwise-config.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ohmwise-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ohmwise-config.cmake
  ${PROJECT_BINARY_DIR}/ohmwise-config-version.cmake DESTINATION ${package_folder}
  COMPONENT development)

# The folders of the file follow from its own place: an installation may be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REPLACE ";" ", " required "${modules}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/ohmwise.pc.in ${PROJECT_BINARY_DIR}/ohmwise.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ohmwise.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# Everything of it built, without tests: what data/ makes, and the libraries, which `ohmwise` may not
# need all.
add_custom_target(ohmwise_installation)
add_dependencies(ohmwise_installation ohmwise ${libraries})
get_property(folders DIRECTORY ${PROJECT_SOURCE_DIR}/data PROPERTY SUBDIRECTORIES)
foreach(folder ${folders})
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  if(targets)
    add_dependencies(ohmwise_installation ${targets})
  endif()
endforeach()
