// Bytes in memory, as libsndfile reads a file.
#pragma once

#include <sndfile.h>

#include "codec/io/bytes.h"
#include "mox/names.h"

namespace mox {

class MemoryFile {
 public:
  explicit MemoryFile(Bytes bytes = {}) : bytes_(bytes) {}

  // Null when libsndfile does not know the bytes. The handle reads from this object, which must outlive it.
  SNDFILE* open(SF_INFO& info) {
    SF_VIRTUAL_IO access{[](void* user) { return self(user).size(); }, seek, read,
                         [](const void*, sf_count_t, void*) { return sf_count_t{0}; },
                         [](void* user) { return self(user).position_; }};
    return sf_open_virtual(&access, SFM_READ, &info, this);
  }

 private:
  static MemoryFile& self(void* user) { return *static_cast<MemoryFile*>(user); }
  sf_count_t size() const { return std::ssize(bytes_); }

  static sf_count_t seek(sf_count_t offset, int whence, void* user) {
    MemoryFile& m = self(user);
    const sf_count_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m.position_ : m.size();
    return m.position_ = std::clamp<sf_count_t>(from + offset, 0, m.size());
  }
  static sf_count_t read(void* to, sf_count_t count, void* user) {
    MemoryFile& m = self(user);
    const sf_count_t got = std::clamp<sf_count_t>(count, 0, m.size() - m.position_);
    std::copy_n(m.bytes_.begin() + m.position_, got, static_cast<uint8_t*>(to));
    m.position_ += got;
    return got;
  }

  Bytes bytes_;
  sf_count_t position_ = 0;
};

}  // namespace mox
