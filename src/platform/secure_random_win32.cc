// Secure random bytes from the system-preferred CNG generator.
#include <windows.h>
// <bcrypt.h> needs the types of <windows.h>.
#include <bcrypt.h>

#include <cerrno>
#include <climits>
#include <cstdint>

#include "platform/secure_random.h"

namespace platform {

int SecureRandomBytes(void* buffer, std::size_t size) {
  auto* out = static_cast<uint8_t*>(buffer);
  while (size > 0) {
    const ULONG count = size > ULONG_MAX ? ULONG_MAX : static_cast<ULONG>(size);
    if (!BCRYPT_SUCCESS(BCryptGenRandom(nullptr, out, count, BCRYPT_USE_SYSTEM_PREFERRED_RNG))) {
      return EIO;
    }
    out += count;
    size -= count;
  }
  return 0;
}

}  // namespace platform
