# Each folder of bench/ is one Google Benchmark program, bench_<folder>, with the libraries that the
# figures are compared to. Only the target bench builds them.
find_package(benchmark REQUIRED)
find_package(absl REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(spdlog REQUIRED)

add_custom_target(bench)
add_custom_target(bench_run)
add_custom_target(bench_smoke)

# The table of the comparisons, for all of them.
set(bench_table bench/framework/Table.cpp)
add_library(bench_table STATIC EXCLUDE_FROM_ALL ${bench_table})
target_link_libraries(bench_table PUBLIC ${FIREWALL_LIBRARIES} benchmark::benchmark)

file(GLOB_RECURSE bench_sources CONFIGURE_DEPENDS
  RELATIVE ${PROJECT_SOURCE_DIR}/bench ${PROJECT_SOURCE_DIR}/bench/*.cpp)
list(REMOVE_ITEM bench_sources framework/Table.cpp)
set(bench_folders "")
foreach(source IN LISTS bench_sources)
  string(REGEX MATCH "^([^/]*)/" unused "${source}")
  set(folder "${CMAKE_MATCH_1}")
  list(APPEND bench_folders ${folder})
  list(APPEND bench_sources_of_${folder} ${PROJECT_SOURCE_DIR}/bench/${source})
endforeach()
list(REMOVE_DUPLICATES bench_folders)

foreach(folder IN LISTS bench_folders)
  set(name bench_${folder})
  add_executable(${name} EXCLUDE_FROM_ALL ${bench_sources_of_${folder}})
  target_link_libraries(${name} PRIVATE
    bench_table benchmark::benchmark_main
    absl::flat_hash_map absl::node_hash_map absl::btree Boost::headers spdlog::spdlog)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)
  add_dependencies(bench ${name})

  # One after the other, in the console pool, so that no two disturb each other.
  add_custom_target(run_${name}
    COMMAND ${name} --benchmark_out=${PROJECT_BINARY_DIR}/bench/${folder}.json
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL)
  add_dependencies(bench_run run_${name})
  # Each in small.
  add_custom_target(smoke_${name}
    COMMAND ${CMAKE_COMMAND} -E env BENCH_ROUNDS=1
            $<TARGET_FILE:${name}> --benchmark_min_time=0.0001
            "--benchmark_filter=-0000|5000|64 VRFs"
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM USES_TERMINAL)
  add_dependencies(bench_smoke smoke_${name})
endforeach()

# What the reactors and the agent took, as the table and the picture of docs/; and all of it.
add_custom_target(bench_table_run
  COMMAND ${PROJECT_SOURCE_DIR}/tools/bench_report.py --measured ${PROJECT_BINARY_DIR}/bench
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM USES_TERMINAL)
add_dependencies(bench_table_run run_bench_Firewall)
if(TARGET run_bench_agent)
  add_dependencies(bench_table_run run_bench_agent)
endif()
add_dependencies(bench_run bench_table_run)

# Counts that no other load on the machine can change, beside the kept ones.
add_custom_target(bench_instructions
  COMMAND ${PROJECT_SOURCE_DIR}/tools/bench_instructions.py $<TARGET_FILE:bench_Firewall>
          ${PROJECT_SOURCE_DIR}/bench/Firewall/instructions.json
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL)
add_dependencies(bench_instructions bench_Firewall)
