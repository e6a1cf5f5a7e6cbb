# kelvo_add_test(NAME sources...): a GoogleTest program in two builds, NAME_static and NAME_shared,
# so that the same facts hold for both libraries.
find_package(GTest REQUIRED)
include(GoogleTest)

function(kelvo_add_test name)
  foreach(kind static shared)
    add_executable(${name}_${kind} ${ARGN})
    target_link_libraries(${name}_${kind} PRIVATE kelvo_flags GTest::gtest_main ${CMAKE_DL_LIBS})
    if(kind STREQUAL shared)
      target_link_libraries(${name}_${kind} PRIVATE Kelvo::sdk)
    else()
      target_link_libraries(${name}_${kind} PRIVATE Kelvo::sdk_static)
    endif()
    add_test(NAME ${name}_${kind} COMMAND ${name}_${kind} --gtest_brief=1)
  endforeach()
endfunction()
