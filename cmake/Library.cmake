# Only names of these namespaces leave a library. Anything else that its objects export, such as an
# instantiation of a standard template, stays local.
set(FIREWALL_NAMESPACES
  Pith Kiv Lanx Fleetlog Twinlog Hoard
  Firewall MatchList Acl Ip Interface L3 Bridging Classification)

# Writes the linker's version script. It matches mangled names: a demangled function template begins
# with its return type and would be missed.
function(firewall_write_export_map path)
  set(patterns "")
  foreach(name IN LISTS FIREWALL_NAMESPACES)
    string(LENGTH ${name} length)
    set(mangled ${length}${name})
    # Members, in namespaces, in const and in ref-qualified functions; variables inside functions.
    foreach(start IN ITEMS _ZN _ZNK _ZNR _ZNKR _ZNO _ZNKO _ZZN _ZZNK _ZGVN _ZGVZN _ZGVZNK _ZGRN)
      string(APPEND patterns "    ${start}${mangled}*;\n")
    endforeach()
    # Type information, vtables and their thunks.
    foreach(start IN ITEMS _ZT?N _ZThn*_N _ZThn*_NK _ZTv0_n*_N _ZTv0_n*_NK)
      string(APPEND patterns "    ${start}${mangled}*;\n")
    endforeach()
  endforeach()
  file(CONFIGURE OUTPUT ${path} CONTENT "{\n  global:\n${patterns}  local:\n    *;\n};\n" @ONLY)
endfunction()

set(FIREWALL_EXPORT_MAP ${PROJECT_BINARY_DIR}/exports.map)
firewall_write_export_map(${FIREWALL_EXPORT_MAP})

# The libraries that exist, lowest first.
set(FIREWALL_LIBRARIES "")

# firewall_library(<name> <folder> [<library below>...])
#
# Makes the shared library <name> of all sources of <folder>, and nothing while there are none.
function(firewall_library name folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  if(NOT sources)
    return()
  endif()

  if(FIREWALL_COVERAGE)
    list(APPEND sources ${PROJECT_SOURCE_DIR}/tests/house/coverage_of_death.cpp)
  endif()
  add_library(${name} SHARED ${sources})
  add_library(FirewallConfigSm::${name} ALIAS ${name})
  target_sources(${name} PUBLIC
    FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/FirewallConfigSm>)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH $ORIGIN
    LINK_DEPENDS ${FIREWALL_EXPORT_MAP})
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${FIREWALL_EXPORT_MAP} -Wl,--as-needed)
  if(NOT FIREWALL_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()

  foreach(library IN LISTS ARGN)
    if(TARGET ${library})
      target_link_libraries(${name} PUBLIC ${library})
    endif()
  endforeach()
  set(FIREWALL_LIBRARIES ${FIREWALL_LIBRARIES} ${name} PARENT_SCOPE)
endfunction()
