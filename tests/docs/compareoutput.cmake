# Runs PROGRAM for PAGE; it must succeed and print exactly what the file EXPECTED holds.
execute_process(COMMAND ${PROGRAM} ${PAGE} OUTPUT_VARIABLE printed RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${status}")
endif()
file(READ ${EXPECTED} expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "Expected:\n${expected}\nPrinted:\n${printed}")
endif()
