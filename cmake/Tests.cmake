# Each folder of tests/ with sources is one GoogleTest program, named for its path: the tests of
# tests/framework/Lanx make test_framework_Lanx. ctest knows every test of it by name.
include(GoogleTest)

# firewall_test(<folder below tests/> <source>...)
function(firewall_test folder)
  string(REPLACE / _ name test_${folder})
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE test_support GTest::gtest_main)
  if(folder IN_LIST folders_with_plain_model)
    target_link_libraries(${name} PRIVATE plain_model)
  endif()
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests
    UNITY_BUILD ${FIREWALL_UNITY}
    UNITY_BUILD_BATCH_SIZE 8)
  if(FIREWALL_UNITY)
    # What one file hides is often no more than a name in another.
    target_compile_options(${name} PRIVATE -Wno-shadow)
  endif()
  if(FIREWALL_SANITIZE AND NOT FIREWALL_TEST_NAMES)
    # A sanitized program takes longer to start than most tests to run: all of a folder in one.
    add_test(NAME ${folder} COMMAND ${name} --gtest_brief=1
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(${folder} PROPERTIES LABELS ${folder} TIMEOUT 900
      ENVIRONMENT FIREWALL_LIVES=4)
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
set(folders_with_plain_model plain faults behaviour)
file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS
  RELATIVE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/tests/*.cpp)
set(test_folders "")
foreach(source IN LISTS test_sources)
  cmake_path(GET source PARENT_PATH folder)
  if(folder STREQUAL plain AND NOT source MATCHES "Test\\.cpp$")
    continue()
  endif()
  string(REGEX MATCH "^[^/]*" top "${folder}")
  if(top AND NOT top IN_LIST folders_without_tests)
    list(APPEND test_folders ${folder})
    list(APPEND sources_of_${folder} ${PROJECT_SOURCE_DIR}/tests/${source})
  endif()
endforeach()
list(REMOVE_DUPLICATES test_folders)
# Memory runs out there as it does in the tests of the framework.
list(APPEND sources_of_faults ${PROJECT_SOURCE_DIR}/tests/framework/Kiv/FailingNew.cpp)

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
