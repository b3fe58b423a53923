include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS QorCommon3 EXPORT QorCommonTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/qorcommon DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT QorCommonTargets NAMESPACE QorCommon:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QorCommon)

configure_package_config_file(cmake/QorCommonConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QorCommon)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QorCommon)

configure_file(cmake/qorcommon.pc.in ${CMAKE_CURRENT_BINARY_DIR}/qorcommon.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qorcommon.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
