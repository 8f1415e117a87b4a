// The system's cryptographically secure random source (the kernel's getrandom
// on POSIX systems, the system-preferred CNG generator on Windows), for keys and
// nonces.
#pragma once

#include <cstddef>

namespace platform {

// Fills `size` bytes at `buffer`. 0 on success, otherwise an errno value; the
// buffer must then not be used.
[[nodiscard]] int SecureRandomBytes(void* buffer, std::size_t size);

}  // namespace platform
