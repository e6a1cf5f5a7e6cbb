# Writes the pkg-config files as a part of cmake --install. Their paths are relative to the files
# themselves, so that the installed tree may be moved. KelvoInstall.cmake sets the variables.
cmake_policy(VERSION 3.20)
# `cmake --install --prefix` may get a path relative to the current folder.
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX NORMALIZE OUTPUT_VARIABLE prefix)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY "${prefix}" NORMALIZE
           OUTPUT_VARIABLE libdir)
file(RELATIVE_PATH up "${libdir}/pkgconfig" "${prefix}")

# In the folders that the system searches, programs find the shared library without an rpath.
set(rpath "")
if(NOT libdir IN_LIST KELVO_SYSTEM_LIBDIRS)
  set(rpath " -Wl,-rpath,\${libdir}")
endif()

# kelvo_pkg_config(NAME DESCRIPTION REQUIRES LIBS LIBS_PRIVATE CFLAGS)
function(kelvo_pkg_config name description requires libs libs_private cflags)
  set(file "${libdir}/pkgconfig/${name}.pc")
  message(STATUS "Installing: $ENV{DESTDIR}${file}")
  configure_file("${KELVO_SOURCE_DIR}/cmake/kelvo.pc.in" "$ENV{DESTDIR}${file}" @ONLY)
  # CMake writes these names to install_manifest.txt.
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${file}")
  set(CMAKE_INSTALL_MANIFEST_FILES "${CMAKE_INSTALL_MANIFEST_FILES}" PARENT_SCOPE)
endfunction()

set(cflags "-I\${includedir} -std=c++20")
kelvo_pkg_config(kelvo "${PROJECT_DESCRIPTION}" ""
                 "-L\${libdir}${rpath} -lkelvo_sdk" "-pthread" "${cflags}")
# Both libraries have the same name, so the static library is linked by its file name.
kelvo_pkg_config(kelvo-static "${PROJECT_DESCRIPTION}, static library" ""
                 "\${libdir}/libkelvo_sdk.a -pthread" "" "${cflags} -DQV_STATIC")
if(KELVO_HAS_PLUGINS)
  kelvo_pkg_config(kelvo-plugins "Loading of node libraries for Kelvo" "kelvo"
                   "\${libdir}/libkelvo_plugins.a ${KELVO_DL_FLAGS}" "" "${cflags}")
  kelvo_pkg_config(kelvo-plugins-static "Node libraries that are linked in, for Kelvo"
                   "kelvo-static"
                   "\${libdir}/libkelvo_plugins_static.a ${KELVO_DL_FLAGS}" "" "${cflags}")
endif()
