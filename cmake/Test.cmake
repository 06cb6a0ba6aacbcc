# quorvex_test(NAME AREA area SOURCES file... LIBS library... [WRAPPER command...])
#
# One GoogleTest program, built into <build>/tests/ and known to ctest as one entry. AREA is the heading under which
# the test command counts its cases; WRAPPER runs the program inside another command.
function(quorvex_test name)
    cmake_parse_arguments(TEST "" "AREA" "SOURCES;LIBS;WRAPPER" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_LIBS} GTest::gmock GTest::gtest_main quorvex_warnings)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${name} COMMAND ${TEST_WRAPPER} $<TARGET_FILE:${name}>
             --gtest_output=xml:${CMAKE_BINARY_DIR}/test-results/${name}.xml)
    set_tests_properties(${name} PROPERTIES LABELS ${TEST_AREA} TIMEOUT 600)
    file(WRITE ${CMAKE_BINARY_DIR}/test-areas/${name} "${TEST_AREA}\n")
endfunction()
