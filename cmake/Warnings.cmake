# Our own code compiles without a warning on both compilers.
add_library(zstats_warnings INTERFACE)
target_compile_options(zstats_warnings INTERFACE -Wall -Wextra -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(zstats_warnings INTERFACE -Wthread-safety)
endif()
