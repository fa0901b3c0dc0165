# kxmmf_warnings(target...): what every target of ours is compiled with. Not g++'s -Wshadow, to which a constructor's
# parameter must not share the name of its member.
function(kxmmf_warnings)
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast
            -Wnon-virtual-dtor -Woverloaded-virtual
            $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety -Wshadow>
            $<$<BOOL:${KXMMF_WARNINGS_AS_ERRORS}>:-Werror>)
    endforeach()
endfunction()
