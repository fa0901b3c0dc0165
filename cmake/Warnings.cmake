# What everything of ours is compiled with. Not g++'s -Wshadow, to which a constructor's parameter must not share the
# name of its member.
set(KXMMF_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    list(APPEND KXMMF_WARNINGS -Wthread-safety -Wshadow)
endif()
if(KXMMF_WARNINGS_AS_ERRORS)
    list(APPEND KXMMF_WARNINGS -Werror)
endif()

# kxmmf_warnings(target...)
function(kxmmf_warnings)
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE ${KXMMF_WARNINGS})
    endforeach()
endfunction()

# For the targets that CMake adds after all others, to compile each public header of this folder alone. They take over
# nothing but what their folder has; targets that are there already take nothing from it.
macro(kxmmf_header_warnings)
    add_compile_options(${KXMMF_WARNINGS})
endmacro()
