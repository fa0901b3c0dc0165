# kxmmf_warnings(target...): what every target of ours is compiled with.
function(kxmmf_warnings)
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast
            -Wnon-virtual-dtor -Woverloaded-virtual
            $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety -Wshadow>
            $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>  # members and constructor parameters share their names
            $<$<BOOL:${KXMMF_WARNINGS_AS_ERRORS}>:-Werror>)
    endforeach()
endfunction()
