# kelvo_add_test(NAME sources...) adds a GoogleTest program twice, as NAME_static and NAME_shared,
# so that both libraries pass the same tests. Both programs share their objects.
# For other machines Debian has the sources of the library alone.
if(CMAKE_CROSSCOMPILING)
  add_subdirectory(/usr/src/googletest "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

# A test asserts what it is about; it may ignore the results of its preparations. Options come in the
# order of the libraries, and clang goes by the last one.
add_library(kelvo_ignored_results INTERFACE)
target_compile_options(kelvo_ignored_results INTERFACE -Wno-unused-result)
add_library(kelvo_test_flags INTERFACE)
target_link_libraries(kelvo_test_flags INTERFACE kelvo_flags kelvo_ignored_results)

function(kelvo_add_test name)
  add_library(${name}_objects OBJECT ${ARGN})
  target_link_libraries(${name}_objects PRIVATE kelvo_test_flags GTest::gtest)
  target_include_directories(${name}_objects PRIVATE "${PROJECT_SOURCE_DIR}")
  kelvo_add_test_program(${name}_static Kelvo::sdk_static $<TARGET_OBJECTS:${name}_objects>)
  kelvo_add_test_program(${name}_shared Kelvo::sdk $<TARGET_OBJECTS:${name}_objects>)
endfunction()

# kelvo_add_internal_test(NAME sources...) adds tests of the implementation, whose symbols only the
# static library has.
function(kelvo_add_internal_test name)
  kelvo_add_test_program(${name} Kelvo::sdk_static ${ARGN})
endfunction()

function(kelvo_add_test_program program library)
  add_executable(${program} ${ARGN})
  target_link_libraries(${program} PRIVATE kelvo_test_flags ${library} GTest::gtest_main
                                           ${CMAKE_DL_LIBS})
  add_test(NAME ${program} COMMAND ${program} --gtest_brief=1)
endfunction()

# kelvo_tell_source_dir(sources...) defines KELVO_SOURCE_DIR for these sources alone, so that other
# objects do not depend on the path of the tree, and a compiler cache serves every checkout.
function(kelvo_tell_source_dir)
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_DEFINITIONS
    KELVO_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
endfunction()
