# Precompiled headers. They could hide a missing include: tools/tidy compiles each of the project's sources
# without them.
#
# g++ takes a precompiled header only if it is included first, so it begins with the prelude that aosp_headers
# adds to each source that has none. g++ ignores it and reads the headers if flags or macros differ; clang++
# stops.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)  # needed by ccache
else()
    add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")  # needed by ccache
endif()
# Lets programs and libraries share them.
set(CMAKE_CXX_COMPILE_OPTIONS_PIE ${CMAKE_CXX_COMPILE_OPTIONS_PIC})

# precompiled_headers(TARGET [OPTIONS OPTION...] [LIBRARIES LIBRARY...] HEADERS HEADER...): defines TARGET
# for precompile(). OPTIONS are those that define or change macros.
function(precompiled_headers target)
    cmake_parse_arguments(ARG "" "" "OPTIONS;LIBRARIES;HEADERS" ${ARGN})
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp CONTENT "")
    add_library(${target} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp)
    target_compile_options(${target} PRIVATE ${ARG_OPTIONS})
    target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
    target_precompile_headers(${target} PRIVATE ${ARG_HEADERS})
endfunction()

# The headers of the platform and the standard library that the project's sources include most.
set(ZSTATS_USUAL_HEADERS ${CMAKE_SOURCE_DIR}/host/aosp/include/platform_prelude.h
    <atomic> <cstdio> <cstdlib> <filesystem> <map> <set> <sstream> <string_view> <variant>
    <android-base/file.h> <android-base/properties.h> <android/binder_auto_utils.h>
    <android/binder_manager.h> <binder/IServiceManager.h> <binder/Parcel.h>
    <aidl/android/os/IStatsd.h>)

# precompile(TARGET HEADERS): compiles TARGET with the precompiled headers of the target HEADERS.
function(precompile target headers)
    target_precompile_headers(${target} REUSE_FROM ${headers})
endfunction()

# compile_together(TARGET FILE...): compiles the sources of a target twelve to a unit, because most of the
# compiler's time for foreign code goes into headers. Each FILE stays alone: its names collide with others, or
# it is the project's.
function(compile_together target)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
