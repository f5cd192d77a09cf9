target_sources(bench_vlc PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/guard_page.cpp)
