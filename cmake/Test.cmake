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
    quorvex_program(program ${name})
    add_test(NAME ${name} COMMAND ${TEST_WRAPPER} ${program}
             --gtest_output=xml:${CMAKE_BINARY_DIR}/test-results/${name}.xml)
    set_tests_properties(${name} PROPERTIES LABELS ${TEST_AREA} TIMEOUT 600)
    file(WRITE ${CMAKE_BINARY_DIR}/test-areas/${name} "${TEST_AREA}\n")
endfunction()

# quorvex_program(variable target)
#
# Sets the variable to what starts the target's program on this machine: its file, or, for another machine's, a script
# that starts it in the emulator. The program knows itself by that script's name, so that it can start itself again.
function(quorvex_program variable target)
    set(${variable} $<TARGET_FILE:${target}> PARENT_SCOPE)
    if(CMAKE_CROSSCOMPILING_EMULATOR)
        list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
        if(QEMU_USER)
            string(APPEND emulator [[ -0 "$0"]])
        endif()
        set(script ${CMAKE_BINARY_DIR}/emulated/${target})
        file(GENERATE OUTPUT ${script} CONTENT "#!/bin/sh\nexec ${emulator} $<TARGET_FILE:${target}> \"$@\"\n"
             FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
        set(${variable} ${script} PARENT_SCOPE)
    endif()
endfunction()

# quorvex_skip(NAME pattern... BECAUSE reason)
#
# Leaves cases of a test program out (gtest_filter patterns), each with what the machine that runs it lacks.
function(quorvex_skip name)
    cmake_parse_arguments(SKIP "" "BECAUSE" "" ${ARGN})
    list(JOIN SKIP_UNPARSED_ARGUMENTS ":" patterns)
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT "GTEST_FILTER=-${patterns}")
endfunction()

# quorvex_wrap(library function...)
#
# In programs that link the library every call of FUNCTION goes to the library's __wrap_FUNCTION, and its
# __real_FUNCTION is the function itself. FUNCTION is the name on machines with 64-bit words: where they have 32, size_t
# is another type in C++ names, and functions that take a 64-bit time have names of their own.
function(quorvex_wrap library)
    foreach(function ${ARGN})
        set(symbol ${function})
        if(CMAKE_SIZEOF_VOID_P EQUAL 4)
            string(REGEX REPLACE "^(gettimeofday|pthread_cond_(timed|clock)wait)$" "__\\164" symbol ${symbol})
            string(REGEX REPLACE "^prctl$" "__prctl_time64" symbol ${symbol})
            string(REGEX REPLACE "^_Znwm" "_Znwj" symbol ${symbol})
            target_compile_definitions(${library} PRIVATE
                __wrap_${function}=__wrap_${symbol} __real_${function}=__real_${symbol})
        endif()
        target_link_options(${library} INTERFACE LINKER:--wrap=${symbol})
    endforeach()
endfunction()
