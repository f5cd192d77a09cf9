target_link_libraries(mp3_decode_fuzz PRIVATE mox_parts)
target_include_directories(mp3_decode_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tests)
