include(CMakePackageConfigHelpers)

# Install components, one Debian package each (cmake/Packaging.cmake):
# runtime (the shared library), development (header, .so link, pkg-config
# file, CMake package) and tools (the programs; tools/ makes it its default).
install(TARGETS KovoSDK EXPORT KovoSDKTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT KovoSDKTargets NAMESPACE KovoSDK::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovoSDK COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KovoSDKConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KovoSDKConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovoSDK)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KovoSDKConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KovoSDKConfig.cmake ${PROJECT_BINARY_DIR}/KovoSDKConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovoSDK COMPONENT development)

# The pkg-config file finds the prefix from its own place, however deep the
# library directory is (lib, or lib/x86_64-linux-gnu under /usr).
file(RELATIVE_PATH KOVO_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/kovosdk.pc.in ${PROJECT_BINARY_DIR}/kovosdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kovosdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
