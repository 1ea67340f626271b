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
