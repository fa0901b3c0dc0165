include(${CMAKE_CURRENT_LIST_DIR}/HeaderPackage.cmake)
kxmmf_header_package(CLI11::CLI11 CLI)
