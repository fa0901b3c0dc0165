# Compiles the locale under which the library converts paths into the build tree, where the C library does not come
# with it. Programs find it by LOCPATH, which KXMMF_LOCALE_FOLDER goes into.
set(KXMMF_LOCALE_FOLDER ${CMAKE_BINARY_DIR}/locale)

if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    find_program(LOCALEDEF localedef REQUIRED)
    set(locale_stamp ${KXMMF_LOCALE_FOLDER}/zh_TW.UTF-8/LC_CTYPE)
    add_custom_command(OUTPUT ${locale_stamp}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${KXMMF_LOCALE_FOLDER}
        COMMAND ${LOCALEDEF} --no-archive -i zh_TW -f UTF-8 ${KXMMF_LOCALE_FOLDER}/zh_TW.UTF-8
        COMMENT "Compiling the locale zh_TW.UTF-8"
        VERBATIM)
    add_custom_target(kxmmf-locale ALL DEPENDS ${locale_stamp})
else()
    add_custom_target(kxmmf-locale)
endif()
