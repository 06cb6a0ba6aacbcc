# GoogleTest's headers are most of what a test's compiler reads: they are compiled once for all of them.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp "")
add_library(quorvex_test_headers OBJECT ${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp)
target_link_libraries(quorvex_test_headers PRIVATE GTest::gmock GTest::gtest quorvex_warnings)
target_precompile_headers(quorvex_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h> <chrono> <functional> <map>
    <memory> <mutex> <optional> <string> <thread> <vector>)

# quorvex_test(NAME AREA area SOURCES file... LIBS library... [WRAPPER command...])
#
# One GoogleTest program, built into <build>/tests/ and known to ctest as one entry. AREA is the heading under which
# the test command counts its cases; WRAPPER runs the program inside another command.
function(quorvex_test name)
    cmake_parse_arguments(TEST "" "AREA" "SOURCES;LIBS;WRAPPER" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_LIBS} GTest::gmock GTest::gtest_main quorvex_warnings)
    target_precompile_headers(${name} REUSE_FROM quorvex_test_headers)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${name} COMMAND ${TEST_WRAPPER} $<TARGET_FILE:${name}>
             --gtest_output=xml:${CMAKE_BINARY_DIR}/test-results/${name}.xml)
    set_tests_properties(${name} PROPERTIES LABELS ${TEST_AREA} TIMEOUT 600)
    file(WRITE ${CMAKE_BINARY_DIR}/test-areas/${name} "${TEST_AREA}\n")
endfunction()
