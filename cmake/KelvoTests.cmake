# kelvo_add_test(NAME sources...): a GoogleTest program in two builds, NAME_static and NAME_shared,
# so that the same facts hold for both libraries.
find_package(GTest REQUIRED)
include(GoogleTest)

function(kelvo_add_test name)
  kelvo_add_test_program(${name}_static Kelvo::sdk_static ${ARGN})
  kelvo_add_test_program(${name}_shared Kelvo::sdk ${ARGN})
endfunction()

# kelvo_add_internal_test(NAME sources...): the static build alone.
function(kelvo_add_internal_test name)
  kelvo_add_test_program(${name} Kelvo::sdk_static ${ARGN})
endfunction()

function(kelvo_add_test_program program library)
  add_executable(${program} ${ARGN})
  target_link_libraries(${program} PRIVATE kelvo_flags ${library} GTest::gtest_main
                                           ${CMAKE_DL_LIBS})
  target_compile_definitions(${program} PRIVATE KELVO_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  add_test(NAME ${program} COMMAND ${program} --gtest_brief=1)
endfunction()
