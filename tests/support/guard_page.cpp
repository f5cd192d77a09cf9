// Memory that ends, or begins, at a page that may not be touched.
#include "support/guard_page.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace moxtest {

GuardPage::GuardPage(size_t bytes, Side side) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t inner = (bytes + page - 1) / page * page;
  mapBytes_ = inner + 2 * page;
  void* const map = mmap(nullptr, mapBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) std::abort();
  map_ = static_cast<uint8_t*>(map);
  if (mprotect(map_ + page, inner, PROT_READ | PROT_WRITE) != 0) std::abort();
  data_ = side == Side::behind ? map_ + page + inner - bytes : map_ + page;
}

GuardPage::~GuardPage() { munmap(map_, mapBytes_); }

}  // namespace moxtest
