# Values of tools/architectures for the target architecture ZSTATS_ARCH; default: this machine's.
set(ZSTATS_ARCHITECTURES ${CMAKE_CURRENT_LIST_DIR}/../tools/architectures)
if(NOT ZSTATS_ARCH)
    file(STRINGS ${ZSTATS_ARCHITECTURES} row
        REGEX "^[^# ]+ +machine +${CMAKE_HOST_SYSTEM_PROCESSOR}$")
    string(REGEX REPLACE " .*" "" ZSTATS_ARCH "${row}")
endif()

# architecture_value(OUT KEY)
function(architecture_value out key)
    file(STRINGS ${ZSTATS_ARCHITECTURES} row REGEX "^${ZSTATS_ARCH} +${key}( |$)")
    if(NOT row)
        message(FATAL_ERROR "tools/architectures has no ${key} of '${ZSTATS_ARCH}'")
    endif()
    string(REGEX REPLACE "^[^ ]+ +[^ ]+ *(.*)$" "\\1" value "${row}")
    set(${out} "${value}" PARENT_SCOPE)
endfunction()
