# Each folder of tests/ with sources is one GoogleTest program, named for its path: the tests of
# tests/framework/Lanx make test_framework_Lanx. ctest knows every test of it by name.
find_package(GTest REQUIRED)
include(GoogleTest)

# What every test program is linked to. Sources of tests/support are compiled once for all of them.
add_library(test_base INTERFACE)
target_link_libraries(test_base INTERFACE ${FIREWALL_LIBRARIES} GTest::gmock GTest::gtest_main)
# It is the libraries that are tested as they ship; optimised tests would take twice as long to build.
target_compile_options(test_base INTERFACE $<$<CONFIG:Release>:-O0>)
file(GLOB_RECURSE support_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/*.cpp)
if(support_sources)
  add_library(test_support STATIC ${support_sources})
  target_link_libraries(test_support PUBLIC test_base)
else()
  add_library(test_support INTERFACE)
  target_link_libraries(test_support INTERFACE test_base)
endif()

# firewall_test(<folder below tests/> <source>...)
function(firewall_test folder)
  string(REPLACE / _ name test_${folder})
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE test_support)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests
    UNITY_BUILD ${FIREWALL_UNITY_TESTS}
    UNITY_BUILD_BATCH_SIZE 8)
  if(FIREWALL_UNITY_TESTS)
    # What one file hides is often no more than a name in another.
    target_compile_options(${name} PRIVATE -Wno-shadow)
  endif()
  if(FIREWALL_SANITIZE AND NOT FIREWALL_TEST_NAMES)
    # A sanitized program takes longer to start than most tests to run: all of a folder in one.
    add_test(NAME ${folder} COMMAND ${name} --gtest_brief=1
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(${folder} PROPERTIES LABELS ${folder} TIMEOUT 900)
    return()
  endif()
  gtest_discover_tests(${name}
    TEST_PREFIX ${folder}/
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    PROPERTIES LABELS ${folder} TIMEOUT 300)
endfunction()

set(folders_without_tests support house install fuzz)
file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS
  RELATIVE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/tests/*.cpp)
set(test_folders "")
foreach(source IN LISTS test_sources)
  cmake_path(GET source PARENT_PATH folder)
  string(REGEX MATCH "^[^/]*" top "${folder}")
  if(top AND NOT top IN_LIST folders_without_tests)
    list(APPEND test_folders ${folder})
    list(APPEND sources_of_${folder} ${PROJECT_SOURCE_DIR}/tests/${source})
  endif()
endforeach()
list(REMOVE_DUPLICATES test_folders)

foreach(folder IN LISTS test_folders)
  set(wanted TRUE)
  if(FIREWALL_TEST_NAMES)
    set(wanted FALSE)
    foreach(source IN LISTS sources_of_${folder})
      file(STRINGS ${source} names REGEX "^(TYPED_)?TEST(_F|_P)?\\(.*(${FIREWALL_TEST_NAMES})")
      if(names)
        set(wanted TRUE)
      endif()
    endforeach()
  endif()
  if(wanted)
    firewall_test(${folder} ${sources_of_${folder}})
  endif()
endforeach()
