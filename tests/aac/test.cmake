add_test(NAME aac_tables COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/gen_aac_tables.py --check)
set_tests_properties(aac_tables PROPERTIES LABELS tools)
