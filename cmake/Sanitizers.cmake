# One sanitizer for all compiled code, including the platform's libraries. The sanitizers of a device's build
# (Android.bp) apply only to the daemon's sources.
if(ZSTATS_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    if(ZSTATS_FUZZ)
        add_compile_options(-fsanitize=fuzzer-no-link)
    endif()
elseif(ZSTATS_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(ZSTATS_SANITIZE STREQUAL "trap")
    set(ZSTATS_DAEMON_SANITIZERS -fsanitize-trap=all
        -fsanitize=signed-integer-overflow,unsigned-integer-overflow,bounds)
elseif(ZSTATS_SANITIZE)
    message(FATAL_ERROR "ZSTATS_SANITIZE is '${ZSTATS_SANITIZE}'; use address, thread or trap")
endif()
