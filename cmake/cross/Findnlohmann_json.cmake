include(${CMAKE_CURRENT_LIST_DIR}/header_only.cmake)
ktmp4_header_only(nlohmann_json nlohmann_json::nlohmann_json nlohmann)
