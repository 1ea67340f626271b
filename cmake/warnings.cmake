# Warnings and sanitizers for our own targets, linked PRIVATE.
add_library(ohmwise_warnings INTERFACE)
target_compile_options(ohmwise_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor
  # g++ 12 sees overlaps in joined standard strings that are not there (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<BOOL:${OHMWISE_WERROR}>:-Werror>)

if(OHMWISE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# ohmwise_library(name SOURCES … LINK …): a static library of one folder; includes start at the root.
function(ohmwise_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                            $<INSTALL_INTERFACE:include/ohmwise>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${ARG_LINK}
                                PRIVATE $<BUILD_INTERFACE:ohmwise_warnings> ${ARG_PRIVATE_LINK})
endfunction()
