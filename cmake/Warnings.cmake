# The project's code compiles without warnings on both compilers.
add_library(zstats_warnings INTERFACE)
target_compile_options(zstats_warnings INTERFACE -Wall -Wextra -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # The functions that the tests wrap have the linker's names.
    set(wraps $<BOOL:$<TARGET_PROPERTY:ZSTATS_WRAPS>>)
    target_compile_options(zstats_warnings INTERFACE -Wthread-safety
        $<$<NOT:${wraps}>:-Wreserved-identifier>)
endif()

# Foreign and generated code: no warnings, and no debug information, which takes a third of the compiler's
# time. Stack traces still have its function names.
set(ZSTATS_FOREIGN -w -g0)
