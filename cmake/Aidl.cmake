# Compiles AIDL files, named by their type, below `root` into a static library.
#
#   aidl_library(TARGET ndk|cpp ROOT dir TYPES android.os.IStatsd ...)
find_program(AIDL aidl REQUIRED)

function(aidl_library target backend)
    cmake_parse_arguments(ARG "" "ROOT" "TYPES" ${ARGN})
    set(out ${CMAKE_BINARY_DIR}/aidl/${target})
    set(include ${out}/include)
    file(MAKE_DIRECTORY ${include})
    if(backend STREQUAL "ndk")
        set(flags --lang=ndk --structured)
    else()
        set(flags --lang=cpp)
    endif()
    foreach(type ${ARG_TYPES})
        string(REPLACE "." "/" path ${type})
        set(source ${out}/${path}.cpp)
        add_custom_command(OUTPUT ${source}
            COMMAND ${AIDL} ${flags} -I ${ARG_ROOT} -o ${out} -h ${include} ${ARG_ROOT}/${path}.aidl
            DEPENDS ${ARG_ROOT}/${path}.aidl VERBATIM)
        list(APPEND sources ${source})
    endforeach()
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} SYSTEM BEFORE PUBLIC ${include})
    target_compile_options(${target} PRIVATE -w -DDO_NOT_CHECK_MANUAL_BINDER_INTERFACES)
    target_link_libraries(${target} PUBLIC aosp_headers)
endfunction()
