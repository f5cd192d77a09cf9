# The books come through the tests' reader, which leans on GoogleTest's headers.
find_package(GTest REQUIRED)
target_sources(bench_vlc PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/guard_page.cpp)
target_link_libraries(bench_vlc PRIVATE GTest::gtest)
