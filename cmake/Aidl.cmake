# Compiles AIDL files, named by their type. aidl-output.sed adapts the compiler's output.
find_program(AIDL aidl REQUIRED)
set(AIDL_OUTPUT_RULES ${CMAKE_CURRENT_LIST_DIR}/aidl-output.sed)

# aidl_sources(LIST ndk|cpp OUT dir ROOT dir TYPES android.os.IStatsd ...): sets LIST to the generated
# sources. The headers are below OUT/include. Both depend on the files that a type imports.
function(aidl_sources list backend)
    cmake_parse_arguments(ARG "" "OUT;ROOT" "TYPES" ${ARGN})
    if(backend STREQUAL "ndk")
        set(flags --lang=ndk --structured)
        set(headers ${ARG_OUT}/include/aidl)
    else()
        set(flags --lang=cpp)
        set(headers ${ARG_OUT}/include)
    endif()
    file(MAKE_DIRECTORY ${ARG_OUT}/include)
    set(sources)
    foreach(type ${ARG_TYPES})
        string(REPLACE "." "/" path ${type})
        get_filename_component(folder ${path} DIRECTORY)
        get_filename_component(name ${path} NAME)
        string(REGEX REPLACE "^I([A-Z])" "\\1" bare_name ${name})
        set(source ${ARG_OUT}/${path}.cpp)
        set(outputs ${source})
        foreach(header ${name} Bn${bare_name} Bp${bare_name})
            list(APPEND outputs ${headers}/${folder}/${header}.h)
        endforeach()
        add_custom_command(OUTPUT ${outputs}
            COMMAND ${AIDL} ${flags} --ninja -d ${source}.d -I ${ARG_ROOT} -o ${ARG_OUT}
                    -h ${ARG_OUT}/include ${ARG_ROOT}/${path}.aidl
            COMMAND sed -E -i -f ${AIDL_OUTPUT_RULES} ${outputs}
            DEPENDS ${ARG_ROOT}/${path}.aidl ${AIDL_OUTPUT_RULES} DEPFILE ${source}.d VERBATIM)
        list(APPEND sources ${source})
    endforeach()
    set(${list} ${sources} PARENT_SCOPE)
endfunction()

set(AIDL_OPTIONS ${ZSTATS_FOREIGN} -DDO_NOT_CHECK_MANUAL_BINDER_INTERFACES)

# aidl_precompiled(TARGET): precompiled headers for the sources of aidl_library.
function(aidl_precompiled target)
    precompiled_headers(${target} OPTIONS ${AIDL_OPTIONS} LIBRARIES aosp_headers HEADERS
        ${CMAKE_SOURCE_DIR}/host/aosp/include/platform_prelude.h <array> <map> <sstream> <variant>
        <android/binder_interface_utils.h> <android/binder_parcel_utils.h> <binder/IInterface.h>
        <binder/Parcel.h> <binder/Status.h>)
endfunction()

# aidl_library(TARGET ndk|cpp ROOT dir TYPES ...): a static library of the generated sources.
function(aidl_library target backend)
    set(out ${CMAKE_BINARY_DIR}/aidl/${target})
    aidl_sources(sources ${backend} OUT ${out} ${ARGN})
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} SYSTEM BEFORE PUBLIC ${out}/include)
    target_compile_options(${target} PRIVATE ${AIDL_OPTIONS})
    target_link_libraries(${target} PUBLIC aosp_headers)
    precompile(${target} aidl_precompiled)
endfunction()
