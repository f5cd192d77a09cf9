target_link_libraries(aac_decode_fuzz PRIVATE mox_parts)
target_include_directories(aac_decode_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tests)
