// The project's root, known at build time.
#include "support/source_path.h"

namespace moxtest {

std::string sourcePath(const std::string& name) { return std::string(MOXAC_SOURCE_DIR) + "/" + name; }

}  // namespace moxtest
