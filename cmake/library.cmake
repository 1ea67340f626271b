# The folders of the library as targets. What is said here is what an installation holds: see install.cmake.

# ohmwise_library(name SOURCES … LINK …): a static library of one folder; includes start at the root.
function(ohmwise_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                            $<INSTALL_INTERFACE:include/ohmwise>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${ARG_LINK}
                                PRIVATE $<BUILD_INTERFACE:ohmwise_warnings> ${ARG_PRIVATE_LINK})
  set_property(GLOBAL APPEND PROPERTY OHMWISE_LIBRARIES ${name})
endfunction()

# ohmwise_uses(module): a foreign library that pkg-config knows, as PkgConfig::MODULE. Programs built
# with an installed library are linked with it too.
function(ohmwise_uses module)
  find_package(PkgConfig REQUIRED)
  string(TOUPPER ${module} name)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET GLOBAL ${module})
  set_property(GLOBAL APPEND PROPERTY OHMWISE_MODULES ${module})
endfunction()
