# Compiler options in two interface targets: one for everything, one more for the library's own code.

add_library(moxac_warnings INTERFACE)
target_compile_options(moxac_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion)

# clang counts int indices into containers as conversions; in tests that hides more than it shows.
add_library(moxac_test_warnings INTERFACE)
target_compile_options(moxac_test_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion)

# 256-bit float vectors everywhere they help; no fused multiply-add, so that vector kernels and their
# scalar twins agree to the bit.
add_library(moxac_kernel_options INTERFACE)
target_compile_options(moxac_kernel_options INTERFACE -mavx -ffp-contract=off)

if(MOXAC_SANITIZE)
  # Line numbers are all that reports need; tracking variables as well takes the compiler twice the time, and what is
  # checked is the same at -O1, which compiles test programs in two thirds of it.
  add_compile_options(-fsanitize=${MOXAC_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -g1 -O1
    # g++ sees impossible sizes and unset values in what the sanitizer has taken apart.
    "$<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow;-Wno-array-bounds;-Wno-maybe-uninitialized>")
  add_link_options(-fsanitize=${MOXAC_SANITIZE})
endif()
