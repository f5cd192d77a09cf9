// The version record.
#include "moxac/types.h"

static_assert(sizeof(moxLibVersion) == 48, "five words and three pointers, pointers aligned");

const moxLibVersion* moxacGetLibVersion(void) {
  static const moxLibVersion version = {
      8, 1, 1, 42291, {'e', '9', '\0', '\0'}, "moxAC AVX (e9)", "8.1.1 (r42291)", "Apr 10 2014"};
  return &version;
}
