// The system's own words on a failed call.
#include "mox/files/failure.h"

#include <cerrno>
#include <system_error>

namespace mox {

void failWithSystemError(const std::string& what) {
  throw Failure(what + ": " + std::generic_category().message(errno));
}

}  // namespace mox
