# kxmmf_header_package(NAME FOLDER): a target over the headers in this machine's /usr/include/FOLDER, which are the same
# on every system. The build tree gets a link to that folder alone: the C library's headers beside it are not for
# another system.
function(kxmmf_header_package name folder)
    if(TARGET ${name})
        return()
    endif()
    if(NOT IS_DIRECTORY /usr/include/${folder})
        message(FATAL_ERROR "The headers /usr/include/${folder} are missing: cmake/setup.sh build")
    endif()
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
    file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/${folder} SYMBOLIC)
    add_library(${name} INTERFACE IMPORTED)
    target_include_directories(${name} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers)
endfunction()
