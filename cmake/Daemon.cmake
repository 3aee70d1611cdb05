# The table of atoms is held to the catalogue before anything of the daemon is compiled.
set(agreement ${CMAKE_BINARY_DIR}/atoms.agree)
add_custom_command(OUTPUT ${agreement}
    COMMAND ${CMAKE_SOURCE_DIR}/tools/check-atoms --table
    COMMAND ${CMAKE_COMMAND} -E touch ${agreement}
    DEPENDS ${CMAKE_SOURCE_DIR}/tools/check-atoms ${CMAKE_SOURCE_DIR}/proto/zstats_atoms.proto
            ${CMAKE_SOURCE_DIR}/daemon/AtomTable.h VERBATIM)
add_custom_target(atoms_agree DEPENDS ${agreement})

# What a device's build gives every program; tools/check-hardening looks for it in the daemon. A
# sanitizer has checks of its own in these places, and without optimisation nothing is fortified.
set(ZSTATS_DAEMON_OPTIONS ${ZSTATS_DAEMON_SANITIZERS})
if(NOT ZSTATS_SANITIZE)
    list(APPEND ZSTATS_DAEMON_OPTIONS -fstack-protector-strong
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
if(ZSTATS_COVERAGE)
    # The counters are a mapping of the profile's file: a process that is killed has written them.
    list(APPEND ZSTATS_DAEMON_OPTIONS -fcoverage-mapping
        -fprofile-instr-generate=/tmp/coverage/%c%p.profraw "SHELL:-mllvm -runtime-counter-relocation")
endif()

# With other macros than the project's other sources.
precompiled_headers(zstats_precompiled OPTIONS ${ZSTATS_DAEMON_OPTIONS} LIBRARIES aosp_headers aidl_statsd
    HEADERS ${ZSTATS_USUAL_HEADERS})

# daemon_library(NAME [SOURCES file...] [EXPOSES path...] USES library...): the static library
# zstats_NAME of the sources in this folder, or of those that are named. Its users see the headers of
# this folder, or those that are named, and the headers of what it uses.
function(daemon_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;EXPOSES;USES" ${ARGN})
    if(NOT ARG_SOURCES)
        file(GLOB ARG_SOURCES CONFIGURE_DEPENDS *.cpp)
    endif()
    if(NOT ARG_EXPOSES)
        file(RELATIVE_PATH ARG_EXPOSES ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    endif()
    add_library(zstats_${name} STATIC ${ARG_SOURCES})
    add_dependencies(zstats_${name} atoms_agree)
    expose_headers(zstats_${name} PUBLIC ${ARG_EXPOSES})
    target_compile_options(zstats_${name} PRIVATE ${ZSTATS_DAEMON_OPTIONS})
    target_link_libraries(zstats_${name} PUBLIC ${ARG_USES} PRIVATE zstats_warnings)
    precompile(zstats_${name} zstats_precompiled)
endfunction()

foreach(folder daemon/base sources readers acquire kernel atoms daemon)
    add_subdirectory(${folder})
endforeach()
# Users first, for programs that link libbinder as a static library behind them.
set(ZSTATS_LIBRARIES zstats_daemon zstats_atoms zstats_callback zstats_readers zstats_sources
    zstats_acquire zstats_kernel zstats_base)
