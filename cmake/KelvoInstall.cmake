# cmake --install: headers, both libraries, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS kelvo_sdk kelvo_sdk_static EXPORT KelvoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY base sdk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo
  FILES_MATCHING PATTERN "*.h")
install(EXPORT KelvoTargets NAMESPACE Kelvo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)

configure_package_config_file(cmake/KelvoConfig.cmake.in KelvoConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
write_basic_package_version_file(KelvoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(cmake/kelvo.pc.in kelvo.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/KelvoConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/KelvoConfigVersion.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/kelvo.pc"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
