# What test programs and fuzz programs are linked to. Sources of tests/support, and the plain model in
# tests/plain, are compiled once for all of them, four files at a time: what they include takes longer than they
# do. The libraries are not compiled so: what the compiler inlines would change, by up to a tenth of a benchmark.
find_package(GTest REQUIRED)

add_library(test_base INTERFACE)
target_link_libraries(test_base INTERFACE ${FIREWALL_LIBRARIES} GTest::gmock)
# It is the libraries that are tested as they ship; optimised tests would take twice as long to build.
target_compile_options(test_base INTERFACE $<$<CONFIG:Release>:-O0>)
file(GLOB_RECURSE support_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/*.cpp)
# Gives a name of its own to what others of the folder have too.
set_source_files_properties(${PROJECT_SOURCE_DIR}/tests/support/Samples.cpp
  PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
if(support_sources)
  add_library(test_support STATIC ${support_sources})
  target_link_libraries(test_support PUBLIC test_base)
  set_target_properties(test_support PROPERTIES
    UNITY_BUILD ${FIREWALL_UNITY} UNITY_BUILD_BATCH_SIZE 4)
else()
  add_library(test_support INTERFACE)
  target_link_libraries(test_support INTERFACE test_base)
endif()

file(GLOB plain_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/plain/*.cpp)
list(FILTER plain_sources EXCLUDE REGEX "Test\\.cpp$")
if(plain_sources)
  add_library(plain_model STATIC EXCLUDE_FROM_ALL ${plain_sources})
  target_link_libraries(plain_model PUBLIC test_support)
  set_target_properties(plain_model PROPERTIES
    UNITY_BUILD ${FIREWALL_UNITY} UNITY_BUILD_BATCH_SIZE 4)
else()
  add_library(plain_model INTERFACE)
  target_link_libraries(plain_model INTERFACE test_support)
endif()
