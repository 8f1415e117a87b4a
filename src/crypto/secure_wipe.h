// Overwriting memory that held a key or a clear password before it is reused
// or released.
#pragma once

#include <cstddef>
#include <string>

namespace crypto {

// Sets `size` bytes at `data` to zero. The stores go through a volatile
// pointer, so the optimiser does not remove them as dead even when the memory
// is never read again.
inline void Wipe(void* data, std::size_t size) {
  volatile auto* bytes = static_cast<volatile unsigned char*>(data);
  while (size-- > 0) *bytes++ = 0;
}

// Wipes the whole buffer of `*text`, the part beyond its current length too
// (left there by a longer text it held before), and leaves it empty.
inline void Wipe(std::string* text) {
  text->resize(text->capacity());
  Wipe(text->data(), text->size());
  text->clear();
}

}  // namespace crypto
