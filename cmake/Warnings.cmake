# Warnings are errors, on both compilers that the project is built with.
add_library(quorvex_warnings INTERFACE)
target_compile_options(quorvex_warnings INTERFACE
    -Wall -Wextra -Wshadow -Wconversion -Werror
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wthread-safety-beta>)
