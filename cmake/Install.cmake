# What `cmake --install` puts where. No installed file holds an absolute path, so the prefix may be moved afterwards.
# Parts, for `cmake --install --component`: runtime (shared library, program, documents) and development.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/kxmmf)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/KxMmf)

# kxmmf_install(component target...): the targets become one component of the package, with an export file of its own,
# by whose presence KxMmfConfig.cmake knows that the component is installed.
function(kxmmf_install component)
    install(TARGETS ${ARGN} EXPORT KxMmf-${component}
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        INCLUDES DESTINATION ${header_folder}  # for users of a CMake before 3.23
        FILE_SET HEADERS DESTINATION ${header_folder} COMPONENT development)
    install(EXPORT KxMmf-${component} NAMESPACE KxMmf:: DESTINATION ${package_folder} COMPONENT development)
endfunction()

# The way from the .pc files to the prefix and on to a folder, for folders that are given relative to the prefix or
# absolute.
set(pc_folder ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH PC_TO_PREFIX ${pc_folder} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" PC_TO_PREFIX ${PC_TO_PREFIX})
file(RELATIVE_PATH PC_LIBDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH PC_INCLUDEDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
# What the library links on macOS.
get_target_property(PC_FRAMEWORKS kxmmf-static INTERFACE_LINK_LIBRARIES)
list(FILTER PC_FRAMEWORKS INCLUDE REGEX "^-framework ")
list(JOIN PC_FRAMEWORKS " " PC_FRAMEWORKS)

function(kxmmf_install_pc)
    foreach(name IN LISTS ARGN)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
        install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
            COMPONENT development)
    endforeach()
endfunction()

kxmmf_install(kxmmf kxmmf-headers kxmmf kxmmf-static)
kxmmf_install_pc(kxmmf kxmmf-static)
if(KXMMF_LZMA)
    kxmmf_install(lzma kxmmf-lzma)
    kxmmf_install_pc(kxmmf-lzma)
endif()

# Until 1.0 a minor version may change what programs see.
set(compatibility SameMajorVersion)
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KxMmfConfigVersion.cmake COMPATIBILITY ${compatibility})
install(FILES ${PROJECT_SOURCE_DIR}/cmake/KxMmfConfig.cmake ${PROJECT_BINARY_DIR}/KxMmfConfigVersion.cmake
    DESTINATION ${package_folder} COMPONENT development)

if(KXMMF_TOOLS)
    install(TARGETS kxstore COMPONENT runtime)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/docs/guide.md ${PROJECT_SOURCE_DIR}/docs/container-format.md
    ${PROJECT_SOURCE_DIR}/docs/header-format.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT runtime)
