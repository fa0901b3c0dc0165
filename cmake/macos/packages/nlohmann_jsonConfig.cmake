include(${CMAKE_CURRENT_LIST_DIR}/HeaderPackage.cmake)
kxmmf_header_package(nlohmann_json::nlohmann_json nlohmann)
