# expose_headers(TARGET PUBLIC|PRIVATE|INTERFACE PATH...): what is compiled with TARGET includes these
# folders and headers by their paths in the project, and no others. The include directory is a folder
# of links, so an include that no linked library exposes is an error of the compiler.
function(expose_headers target scope)
    set(links ${CMAKE_BINARY_DIR}/headers/${target})
    file(REMOVE_RECURSE ${links})
    foreach(path ${ARGN})
        get_filename_component(folder ${links}/${path} DIRECTORY)
        file(MAKE_DIRECTORY ${folder})
        file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${path} ${links}/${path} SYMBOLIC)
    endforeach()
    target_include_directories(${target} ${scope} ${links})
endfunction()
