# Each tests/fuzz/<name>.cpp is one libFuzzer program, fuzz_<name>, with its first inputs in
# tests/fuzz/<name>/ where there are any. ctest runs each for a fixed number of inputs.
file(GLOB fuzz_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/fuzz/*.cpp)
foreach(source IN LISTS fuzz_sources)
  cmake_path(GET source STEM stem)
  set(name fuzz_${stem})
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${FIREWALL_LIBRARIES})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)

  set(found ${PROJECT_BINARY_DIR}/fuzz/corpus/${stem})
  file(MAKE_DIRECTORY ${found})
  set(first ${PROJECT_SOURCE_DIR}/tests/fuzz/${stem})
  if(NOT IS_DIRECTORY ${first})
    set(first "")
  endif()
  add_test(NAME fuzz/${stem} COMMAND ${name} -seed=1 -runs=100000 ${found} ${first}
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)
endforeach()
