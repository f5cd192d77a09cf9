target_link_libraries(test_apps PRIVATE mox_parts PkgConfig::SNDFILE PkgConfig::PNG)
target_compile_definitions(test_apps PRIVATE MOX_PROGRAM="$<TARGET_FILE:mox>")
add_dependencies(test_apps mox)
foreach(name IN ITEMS mp3_peers aac_peers encoder_peers)
  add_test(NAME ${name} COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/apps/${name}.py
    $<TARGET_FILE:mox> ${PROJECT_SOURCE_DIR})
  set_tests_properties(${name} PROPERTIES LABELS "apps;peers" SKIP_RETURN_CODE 77)
endforeach()
