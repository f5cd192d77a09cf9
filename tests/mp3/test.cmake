add_test(NAME mp3_tables COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/gen_mp3_tables.py --check)
set_tests_properties(mp3_tables PROPERTIES LABELS tools)
