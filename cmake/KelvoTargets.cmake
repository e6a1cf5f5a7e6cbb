# Sets the flags that all our own code is compiled with, and defines the two libraries.

add_library(kelvo_flags INTERFACE)
target_compile_features(kelvo_flags INTERFACE cxx_std_20)
target_compile_options(kelvo_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(KELVO_WERROR)
  target_compile_options(kelvo_flags INTERFACE -Werror)
endif()
if(KELVO_SANITIZE)
  target_compile_options(kelvo_flags INTERFACE -fsanitize=${KELVO_SANITIZE}
                         -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(kelvo_flags INTERFACE -fsanitize=${KELVO_SANITIZE})
endif()
find_package(Threads REQUIRED)

# Makes kelvo_sdk (shared) and kelvo_sdk_static from the objects of the floors.
function(kelvo_add_libraries)
  target_link_libraries(kelvo_objects PRIVATE kelvo_flags)
  target_include_directories(kelvo_objects PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(kelvo_objects PRIVATE QV_BUILD)
  set_target_properties(kelvo_objects PROPERTIES POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
  # The undefined behaviour sanitizer compares types across shared objects, so their typeinfo has to
  # be visible.
  if(KELVO_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set_property(TARGET kelvo_objects PROPERTY CXX_VISIBILITY_PRESET)
    target_compile_options(kelvo_objects PRIVATE -fvisibility-ms-compat)
  endif()

  add_library(kelvo_sdk SHARED)
  add_library(kelvo_sdk_static STATIC)
  foreach(library kelvo_sdk kelvo_sdk_static)
    target_link_libraries(${library} PRIVATE $<BUILD_INTERFACE:kelvo_objects>
                                     PUBLIC Threads::Threads)
    target_compile_features(${library} PUBLIC cxx_std_20)
    target_include_directories(${library} INTERFACE
      "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
      "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
    if(KELVO_SANITIZE)
      target_link_options(${library} PUBLIC -fsanitize=${KELVO_SANITIZE})
    endif()
  endforeach()
  target_compile_definitions(kelvo_sdk_static PUBLIC QV_STATIC)
  set_target_properties(kelvo_sdk PROPERTIES EXPORT_NAME sdk
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(UNIX AND NOT APPLE)
    target_link_options(kelvo_sdk PRIVATE
      "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/kelvo.map")
    set_target_properties(kelvo_sdk PROPERTIES
      LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/kelvo.map")
  endif()
  set_target_properties(kelvo_sdk_static PROPERTIES EXPORT_NAME sdk_static
    OUTPUT_NAME kelvo_sdk)
  add_library(Kelvo::sdk ALIAS kelvo_sdk)
  add_library(Kelvo::sdk_static ALIAS kelvo_sdk_static)
endfunction()
