// Two exported names, one implementation: the first becomes another symbol of the second. Both must be
// declared alike in the public header, and the second defined in the same file.
#pragma once

#define MOX_EXPORT_ALIAS(name, implementation) \
  extern "C" __attribute__((visibility("default"), alias(#implementation))) decltype(implementation) name
