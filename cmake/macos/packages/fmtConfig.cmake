include(${CMAKE_CURRENT_LIST_DIR}/HeaderPackage.cmake)
kxmmf_header_package(fmt::fmt fmt)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
