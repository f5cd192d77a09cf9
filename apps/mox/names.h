// The program speaks of the codec's types without a prefix.
#pragma once

namespace moxc {}

namespace mox {
using namespace moxc;
}
