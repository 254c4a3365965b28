# What others build against: libraries, headers, a CMake package and pkg-config files.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/FirewallConfigSm)

install(TARGETS ${FIREWALL_LIBRARIES}
  EXPORT FirewallConfigSmTargets
  LIBRARY
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/FirewallConfigSm)
install(EXPORT FirewallConfigSmTargets
  NAMESPACE FirewallConfigSm::
  DESTINATION ${package_folder})
configure_package_config_file(
  cmake/FirewallConfigSmConfig.cmake.in FirewallConfigSmConfig.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(FirewallConfigSmConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/FirewallConfigSmConfig.cmake
  ${PROJECT_BINARY_DIR}/FirewallConfigSmConfigVersion.cmake
  DESTINATION ${package_folder})

# A pkg-config file finds its prefix from where it lies, so that an installed tree may be moved.
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig
  ${CMAKE_INSTALL_PREFIX}/${pkgconfig_folder} ${CMAKE_INSTALL_PREFIX})
set(library_requires "")  # the library below, which requires the next one
foreach(library_name IN LISTS FIREWALL_LIBRARIES)
  configure_file(cmake/library.pc.in ${library_name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library_name}.pc DESTINATION ${pkgconfig_folder})
  set(library_requires ${library_name})
endforeach()
