# All of the daemon but its main function, as a library: for its executable, which vdevice/ links with
# the substitutes of the closed libraries, and for the tests.
file(GLOB daemon_sources CONFIGURE_DEPENDS
    daemon/*.cpp daemon/base/*.cpp sources/*.cpp atoms/*.cpp readers/*.cpp acquire/*.cpp kernel/*.cpp)
list(FILTER daemon_sources EXCLUDE REGEX "/daemon/main\\.cpp$")

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

add_library(zstats STATIC ${daemon_sources})
add_dependencies(zstats atoms_agree)
target_compile_options(zstats PRIVATE ${ZSTATS_DAEMON_OPTIONS})
target_include_directories(zstats PUBLIC ${CMAKE_SOURCE_DIR})
target_link_libraries(zstats
    PUBLIC aosp_headers vendor_headers aidl_statsd aidl_vendor aidl_cpp proto_lite
    PRIVATE zstats_warnings PkgConfig::SELINUX)
# With other macros than all else.
precompiled_headers(zstats_precompiled OPTIONS ${ZSTATS_DAEMON_OPTIONS} LIBRARIES aosp_headers aidl_statsd
    HEADERS ${ZSTATS_USUAL_HEADERS})
precompile(zstats zstats_precompiled)
if(ZSTATS_COVERAGE)
    target_link_options(zstats PUBLIC -fprofile-instr-generate)
endif()
