# Flags that every target gets.

add_compile_options(-Wall -Wextra -Wshadow -Wno-unused-result)
if(VERIDANE_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

# A sign is read from cell means that differ in the last bits between machines as soon as the compiler may fuse a
# product and a sum. Contraction stays off everywhere, and nothing here may ever turn fast-math on.
add_compile_options(-ffp-contract=off)

# errno and the floating-point exception flags are never looked at; without them floor and sqrt are single instructions
# and loops vectorise. Neither changes a result.
add_compile_options(-fno-math-errno -fno-trapping-math)

set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")

if(VERIDANE_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(VERIDANE_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(VERIDANE_SANITIZE)
  message(FATAL_ERROR "VERIDANE_SANITIZE is empty, address or thread")
endif()

# Fuzz targets find faults only where the code they call is instrumented too.
if(VERIDANE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "VERIDANE_FUZZ needs clang: configure with -DCMAKE_CXX_COMPILER=clang++")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
