include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS QorCommon3 EXPORT QorCommonTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/qorcommon DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${QOR_VERSION_HEADER} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qorcommon)
install(EXPORT QorCommonTargets NAMESPACE QorCommon:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QorCommon)

configure_package_config_file(cmake/QorCommonConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QorCommon)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/QorCommonConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QorCommon)

# The pkg-config file names its prefix relative to its own folder, so the installed tree may move.
file(RELATIVE_PATH QOR_PC_RELATIVE_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" QOR_PC_RELATIVE_PREFIX "${QOR_PC_RELATIVE_PREFIX}")
if(WIN32)
  set(QOR_PC_LIBS_PRIVATE "-lshlwapi -lshell32 -ladvapi32 -lversion")
else()
  set(QOR_PC_LIBS_PRIVATE "-lpthread")
endif()
configure_file(cmake/qorcommon.pc.in ${CMAKE_CURRENT_BINARY_DIR}/qorcommon.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qorcommon.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
