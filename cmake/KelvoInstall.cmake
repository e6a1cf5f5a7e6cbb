# Installs the public headers, both libraries, the CMake package and the pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS kelvo_sdk kelvo_sdk_static EXPORT KelvoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY kelvo DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "impl" EXCLUDE)
install(EXPORT KelvoTargets NAMESPACE Kelvo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)

configure_package_config_file(cmake/KelvoConfig.cmake.in KelvoConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
write_basic_package_version_file(KelvoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/KelvoConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/KelvoConfigVersion.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)

# The pkg-config files depend on the installation prefix, which is known only at installation.
set(dl_flags "")
if(CMAKE_DL_LIBS)
  set(dl_flags "-l${CMAKE_DL_LIBS}")
endif()
set(has_plugins OFF)
if(TARGET kelvo_plugins)
  set(has_plugins ON)
endif()
install(CODE "
set(PROJECT_VERSION \"${PROJECT_VERSION}\")
set(PROJECT_DESCRIPTION \"${PROJECT_DESCRIPTION}\")
set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
set(KELVO_SOURCE_DIR \"${PROJECT_SOURCE_DIR}\")
set(KELVO_SYSTEM_LIBDIRS \"${CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES}\")
set(KELVO_DL_FLAGS \"${dl_flags}\")
set(KELVO_HAS_PLUGINS ${has_plugins})")
install(SCRIPT cmake/InstallPkgConfig.cmake)
