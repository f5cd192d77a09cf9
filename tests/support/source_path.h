// Where the project's own files lie: bundled streams, tables of the standards.
#pragma once

#include <string>

namespace moxtest {

// The path of a file named from the project's root. Only source_path.cpp knows the root, so that no other object
// depends on where it was built.
std::string sourcePath(const std::string& name);

}  // namespace moxtest
