# One sanitizer for everything that is compiled, the platform libraries included. Those that a
# device builds the daemon with (Android.bp) are for its own sources alone.
if(ZSTATS_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    if(ZSTATS_FUZZ)
        add_compile_options(-fsanitize=fuzzer-no-link)
    endif()
elseif(ZSTATS_SANITIZE STREQUAL "thread")
    # A fence is not modelled by the sanitizer; the platform's one use of them is compiled without.
    add_compile_options(-fsanitize=thread -Wno-tsan -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(ZSTATS_SANITIZE STREQUAL "trap")
    set(ZSTATS_DAEMON_SANITIZERS -fsanitize-trap=all
        -fsanitize=signed-integer-overflow,unsigned-integer-overflow,bounds)
elseif(ZSTATS_SANITIZE)
    message(FATAL_ERROR "ZSTATS_SANITIZE is '${ZSTATS_SANITIZE}'; use address, thread or trap")
endif()
