# Each tools/<name>.cpp is one program, installed beside the libraries.
file(GLOB programs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/*.cpp)
if(TARGET KivFramework)
  file(RELATIVE_PATH libraries_from_programs
    ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  foreach(source IN LISTS programs)
    cmake_path(GET source STEM name)
    add_executable(${name} ${source})
    target_link_libraries(${name} PRIVATE KivFramework)
    set_target_properties(${name} PROPERTIES
      RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
      INSTALL_RPATH $ORIGIN/${libraries_from_programs})
    install(TARGETS ${name} RUNTIME)
  endforeach()
endif()

# The host agent has a folder of its own, and needs libraries that the others do not.
option(FIREWALL_AGENT "Build the host agent fwagent" ${PROJECT_IS_TOP_LEVEL})
if(FIREWALL_AGENT AND TARGET FirewallConfigSm)
  add_subdirectory(agent)
endif()
