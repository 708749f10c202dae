include(CMakePackageConfigHelpers)

install(TARGETS KovoSDK EXPORT KovoSDKTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT KovoSDKTargets NAMESPACE KovoSDK::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovoSDK)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KovoSDKConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KovoSDKConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovoSDK)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KovoSDKConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KovoSDKConfig.cmake ${PROJECT_BINARY_DIR}/KovoSDKConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KovoSDK)

configure_file(${PROJECT_SOURCE_DIR}/cmake/kovosdk.pc.in ${PROJECT_BINARY_DIR}/kovosdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kovosdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
