# Precompiled headers, with g++ alone. With clang++ each source is compiled with what it includes
# itself, so that CI sees an include that is missing, and clang-tidy the flags that it knows.
#
# A precompiled header has to be the first that the compiler includes: it begins with the prelude
# that aosp_headers otherwise gives each source. Where g++ finds that flags or macros differ, it
# reads the headers themselves.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(ZSTATS_PRECOMPILE ON)
    # ccache works with them then.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
    # A program's sources can then share them with a library's.
    set(CMAKE_CXX_COMPILE_OPTIONS_PIE ${CMAKE_CXX_COMPILE_OPTIONS_PIC})
endif()

# precompiled_headers(TARGET [OPTIONS OPTION...] [LIBRARIES LIBRARY...] HEADERS HEADER...): TARGET is
# for precompile(), below. The options are those that define macros, or alter what a macro is.
function(precompiled_headers target)
    if(NOT ZSTATS_PRECOMPILE)
        return()
    endif()
    cmake_parse_arguments(ARG "" "" "OPTIONS;LIBRARIES;HEADERS" ${ARGN})
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp CONTENT "")
    add_library(${target} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp)
    target_compile_options(${target} PRIVATE ${ARG_OPTIONS})
    target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
    target_precompile_headers(${target} PRIVATE ${ARG_HEADERS})
endfunction()

# What our own sources include most, of the platform's headers and the standard library's.
set(ZSTATS_USUAL_HEADERS ${CMAKE_SOURCE_DIR}/host/aosp/include/platform_prelude.h
    <atomic> <cstdio> <cstdlib> <filesystem> <map> <set> <sstream> <string_view> <variant>
    <android-base/file.h> <android-base/properties.h> <android/binder_auto_utils.h>
    <android/binder_manager.h> <binder/IServiceManager.h> <binder/Parcel.h>
    <aidl/android/os/IStatsd.h>)

# precompile(TARGET HEADERS): the sources of TARGET use the headers that the target HEADERS holds.
function(precompile target headers)
    if(ZSTATS_PRECOMPILE)
        target_precompile_headers(${target} REUSE_FROM ${headers})
    endif()
endfunction()
