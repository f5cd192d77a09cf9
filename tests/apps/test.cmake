target_link_libraries(test_apps PRIVATE mox_parts PkgConfig::SNDFILE)
