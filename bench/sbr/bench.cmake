find_package(GTest REQUIRED)  # for the tests' blocks of memory
target_link_libraries(bench_sbr PRIVATE GTest::gtest)
