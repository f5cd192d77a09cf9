target_link_libraries(test_apps PRIVATE mox_parts PkgConfig::SNDFILE PkgConfig::PNG)
target_compile_definitions(test_apps PRIVATE MOX_PROGRAM="$<TARGET_FILE:mox>")
add_dependencies(test_apps mox)
