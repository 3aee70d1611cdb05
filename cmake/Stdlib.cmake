# The C++ library. With ZSTATS_STDLIB=libc++ everything is built with clang++ and libc++, as on a device.
# Debian's C++ libraries are built with libstdc++, whose strings have another layout, so protobuf and
# GoogleTest are then compiled from source.
if(ZSTATS_STDLIB STREQUAL "libc++")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-stdlib=libc++>)
    add_link_options(-stdlib=libc++)

    find_program(Protobuf_PROTOC_EXECUTABLE protoc REQUIRED)
    execute_process(COMMAND ${CMAKE_SOURCE_DIR}/host/aosp/apt-private protobuf
        OUTPUT_VARIABLE PROTOBUF OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    foreach(option protobuf_BUILD_TESTS protobuf_BUILD_PROTOC_BINARIES protobuf_INSTALL
            protobuf_WITH_ZLIB INSTALL_GTEST)
        set(${option} OFF CACHE BOOL "")
    endforeach()
    add_subdirectory(${PROTOBUF} ${CMAKE_BINARY_DIR}/protobuf EXCLUDE_FROM_ALL SYSTEM)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    foreach(library libprotobuf libprotobuf-lite)
        target_precompile_headers(${library} PRIVATE <algorithm> <map> <memory> <sstream> <string> <unordered_map>
            <google/protobuf/io/coded_stream.h> <google/protobuf/io/zero_copy_stream_impl.h>
            <google/protobuf/extension_set.h> <google/protobuf/generated_message_util.h>
            <google/protobuf/message_lite.h> <google/protobuf/stubs/strutil.h>)
    endforeach()
    target_precompile_headers(libprotobuf PRIVATE <google/protobuf/descriptor.h> <google/protobuf/descriptor.pb.h>
        <google/protobuf/map_field.h> <google/protobuf/message.h> <google/protobuf/wire_format.h>)
    # Ignore the warnings of foreign code.
    foreach(library libprotobuf libprotobuf-lite gtest gtest_main gmock gmock_main)
        target_compile_options(${library} PRIVATE ${ZSTATS_FOREIGN})
    endforeach()
elseif(ZSTATS_STDLIB)
    message(FATAL_ERROR "ZSTATS_STDLIB is '${ZSTATS_STDLIB}'; use libc++, or leave it out")
else()
    find_package(Protobuf REQUIRED)
    if(NOT CMAKE_CROSSCOMPILING)
        find_package(GTest REQUIRED)
        find_package(benchmark)
    endif()
endif()
