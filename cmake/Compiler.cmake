# How everything of the tree is compiled.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_COMPILE_WARNING_AS_ERROR ${FIREWALL_WERROR})

# Calls inside a library need not go through its export table: nobody interposes them.
add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
  -fno-semantic-interposition)

# g++ 12 sees an overlap in `"text" + std::move(string)` that is not there (its bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()

if(FIREWALL_SANITIZE)
  add_compile_options(
    -fsanitize=${FIREWALL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${FIREWALL_SANITIZE})
endif()

if(FIREWALL_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "FIREWALL_FUZZ needs clang's libFuzzer")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(FIREWALL_COVERAGE)
  add_compile_options(--coverage)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-fprofile-update=atomic)  # some tests have threads
  endif()
  add_link_options(--coverage)
endif()
