# find_package(KxMmf 0.1 [COMPONENTS kxmmf lzma])
#
#   kxmmf  KxMmf::kxmmf         the shared library, which exports the block store
#          KxMmf::kxmmf-static  the static one, which object streams and all helpers need
#   lzma   KxMmf::lzma          the compressor of object streams; needs liblzma
#
# Without COMPONENTS: kxmmf, and lzma where it is installed and liblzma is found.
include(CMakeFindDependencyMacro)

set(KxMmf_wanted ${KxMmf_FIND_COMPONENTS})
if(NOT KxMmf_wanted)
    set(KxMmf_wanted kxmmf lzma)
endif()
list(REMOVE_ITEM KxMmf_wanted kxmmf)

# The others need it.
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/KxMmf-kxmmf.cmake)
set(KxMmf_kxmmf_FOUND TRUE)

foreach(KxMmf_component IN LISTS KxMmf_wanted)
    set(KxMmf_file ${CMAKE_CURRENT_LIST_DIR}/KxMmf-${KxMmf_component}.cmake)
    set(KxMmf_problem "")
    if(NOT EXISTS "${KxMmf_file}")
        set(KxMmf_problem "is not installed with this KxMmf")
    elseif("${KxMmf_component}" STREQUAL "lzma")
        find_package(LibLZMA QUIET)
        if(NOT LibLZMA_FOUND)
            set(KxMmf_problem "needs liblzma, which was not found")
        endif()
    endif()

    if(NOT KxMmf_problem)
        include(${KxMmf_file})
        set(KxMmf_${KxMmf_component}_FOUND TRUE)
    elseif(KxMmf_FIND_REQUIRED_${KxMmf_component})
        set(KxMmf_FOUND FALSE)
        string(APPEND KxMmf_NOT_FOUND_MESSAGE "The component ${KxMmf_component} ${KxMmf_problem}. ")
    endif()
endforeach()
