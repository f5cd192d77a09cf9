target_link_libraries(sbr_decode_fuzz PRIVATE mox_parts)
target_include_directories(sbr_decode_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tests)
