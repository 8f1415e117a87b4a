// Secure random bytes from the kernel (getrandom blocks only until the kernel's
// pool is first initialised, early at boot).
#include <sys/random.h>

#include <cerrno>
#include <cstdint>

#include "platform/secure_random.h"

namespace platform {

int SecureRandomBytes(void* buffer, std::size_t size) {
  auto* out = static_cast<uint8_t*>(buffer);
  while (size > 0) {
    const ssize_t count = getrandom(out, size, 0);
    if (count < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    out += count;
    size -= static_cast<std::size_t>(count);
  }
  return 0;
}

}  // namespace platform
