target_link_libraries(test_apps PRIVATE mox_parts PkgConfig::SNDFILE PkgConfig::PNG)
target_compile_definitions(test_apps PRIVATE MOX_PROGRAM="$<TARGET_FILE:mox>")
add_dependencies(test_apps mox)
add_test(NAME mp3_peers COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/apps/compare_peers.py
  $<TARGET_FILE:mox> ${PROJECT_SOURCE_DIR})
set_tests_properties(mp3_peers PROPERTIES LABELS "apps;peers" SKIP_RETURN_CODE 77)
add_test(NAME aac_peers COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/apps/compare_aac_peers.py
  $<TARGET_FILE:mox> ${PROJECT_SOURCE_DIR})
set_tests_properties(aac_peers PROPERTIES LABELS "apps;peers" SKIP_RETURN_CODE 77)
add_test(NAME mp3_encoder_peers COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/apps/encode_peers.py
  $<TARGET_FILE:mox>)
set_tests_properties(mp3_encoder_peers PROPERTIES LABELS "apps;peers" SKIP_RETURN_CODE 77)
