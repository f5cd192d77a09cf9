add_test(NAME sbr_generated COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/gen_sbr_tables.py --check)
set_tests_properties(sbr_generated PROPERTIES LABELS tools)
