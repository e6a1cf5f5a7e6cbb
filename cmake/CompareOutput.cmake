# Runs PROGRAM and compares what it prints with the file EXPECTED.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed ERROR_VARIABLE errors
                RESULT_VARIABLE status)
file(READ ${EXPECTED} expected)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${status}.\n${errors}")
endif()
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} printed:\n${printed}\nexpected:\n${expected}")
endif()
