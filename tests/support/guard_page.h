// Memory that ends (or begins) at an unreadable page, to catch reads and writes past a buffer at once.
#pragma once

#include <cstddef>
#include <cstdint>

namespace moxtest {

class GuardPage {
 public:
  enum class Side { behind, before };
  explicit GuardPage(size_t bytes, Side side = Side::behind);
  ~GuardPage();
  GuardPage(const GuardPage&) = delete;
  GuardPage& operator=(const GuardPage&) = delete;

  // `bytes` accessible bytes; with Side::behind the byte after the last one cannot be touched.
  uint8_t* data() { return data_; }

 private:
  uint8_t* map_;
  size_t mapBytes_;
  uint8_t* data_;
};

}  // namespace moxtest
