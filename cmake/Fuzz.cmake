# Each tests/fuzz/<name>.cpp is a program, fuzz_<name>, that takes any bytes; a few inputs to begin with
# are in tests/fuzz/corpus/<name>/.
#
# With FIREWALL_FUZZ it is a libFuzzer program, and ctest runs it for a number of inputs, or a minute.
# Otherwise it runs the inputs of its corpus, and ctest does that.
if(FIREWALL_TEST_NAMES)
  return()
endif()
file(GLOB fuzz_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/fuzz/*.cpp)
foreach(source IN LISTS fuzz_sources)
  cmake_path(GET source STEM stem)
  set(name fuzz_${stem})
  set(corpus ${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${stem})
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE plain_model test_support)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)
  if(FIREWALL_FUZZ)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    set(found ${PROJECT_BINARY_DIR}/fuzz/corpus/${stem})
    file(MAKE_DIRECTORY ${found})
    set(inputs -seed=1 -runs=${FIREWALL_FUZZ_RUNS} -max_total_time=60 ${found} ${corpus})
    if(NOT IS_DIRECTORY ${corpus})
      list(REMOVE_ITEM inputs ${corpus})
    endif()
  else()
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/fuzz/replay/main.cpp)
    set(inputs ${corpus})
  endif()
  add_test(NAME fuzz/${stem} COMMAND ${name} ${inputs}
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)
endforeach()
