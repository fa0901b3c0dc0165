# Builds for macOS on x86-64 on a Linux machine: with the compiler that fetch-zig.sh has fetched, the C library's
# headers that come with it, and stand-ins for Apple's frameworks (sdk/README.md). On a Mac none of this is used.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_OSX_SYSROOT "")

execute_process(COMMAND llvm-config --bindir OUTPUT_VARIABLE llvm OUTPUT_STRIP_TRAILING_WHITESPACE)
foreach(tool ar ranlib nm strip otool install-name-tool)
    string(TOUPPER CMAKE_${tool} variable)
    string(REPLACE - _ variable ${variable})
    find_program(${variable} llvm-${tool} HINTS ${llvm} REQUIRED)
endforeach()

foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${CMAKE_CURRENT_LIST_DIR}/zig-c++)
    # CMake would find these out by a linker's option that the compiler refuses.
    set(CMAKE_${language}_ABI_COMPILED TRUE)
    set(CMAKE_${language}_SIZEOF_DATA_PTR 8)
    # The compiler declares its C++ library free of the system's notes on availability and visibility. With them, what
    # is newer than the oldest release is refused, and what is exported is what a Mac would export.
    set(CMAKE_${language}_FLAGS_INIT
        "-U_LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS -U_LIBCPP_DISABLE_VISIBILITY_ANNOTATIONS")
    set(CMAKE_${language}_FLAGS_RELEASE_INIT "-g0")
endforeach()
# The compiler gives itself an option for .mm files of which it then warns.
string(APPEND CMAKE_OBJCXX_FLAGS_INIT " -F${CMAKE_CURRENT_LIST_DIR}/sdk/Frameworks -Wno-unused-command-line-argument")

set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/rules.cmake)

# Nothing of this machine's own libraries. The packages stand in for those that a program needs.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/packages)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
foreach(package CLI11 fmt nlohmann_json)
    set(${package}_DIR ${CMAKE_CURRENT_LIST_DIR}/packages)
endforeach()
