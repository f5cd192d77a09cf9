add_test(NAME dts_tables COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/gen_dts_tables.py --check)
set_tests_properties(dts_tables PROPERTIES LABELS tools)
