# Our own code compiles without a warning on both compilers.
add_library(zstats_warnings INTERFACE)
target_compile_options(zstats_warnings INTERFACE -Wall -Wextra -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(zstats_warnings INTERFACE -Wthread-safety)
endif()

# What is not ours, or generated: its warnings are nobody's here, and without its debug information,
# a third of the compiler's time, stack traces still name its functions.
set(ZSTATS_FOREIGN -w -g0)
