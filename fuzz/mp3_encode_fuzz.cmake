target_link_libraries(mp3_encode_fuzz PRIVATE mox_parts)
target_include_directories(mp3_encode_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tests)
