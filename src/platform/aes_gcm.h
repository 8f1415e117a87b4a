// The authenticated cipher of the key-file store: AES-256 in Galois/Counter mode
// with a 12-byte nonce and a 16-byte tag (OpenSSL's default provider on POSIX
// systems, CNG on Windows). Both backends give the same bytes for the same
// input, so a text enciphered by one build is deciphered by the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

inline constexpr std::size_t kAesGcmKeySize = 32;
inline constexpr std::size_t kAesGcmNonceSize = 12;
inline constexpr std::size_t kAesGcmTagSize = 16;

inline constexpr int kAesGcmOk = 0;
// Deciphering: the tag does not match (altered data, nonce, tag or associated
// data, or another key). The output then holds zeros, never unchecked bytes.
inline constexpr int kAesGcmBadTag = 1;
// The backend failed, or an output does not have the size of its input.
inline constexpr int kAesGcmFailed = 2;

// Enciphers `plain` into `cipher` (of the same size) and writes the tag.
// `associated` is authenticated but not enciphered; it may be empty.
[[nodiscard]] int AesGcmEncrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                                std::span<const uint8_t, kAesGcmNonceSize> nonce,
                                std::span<const uint8_t> associated, std::span<const uint8_t> plain,
                                std::span<uint8_t> cipher, std::span<uint8_t, kAesGcmTagSize> tag);

// Checks the tag and deciphers `cipher` into `plain` (of the same size).
[[nodiscard]] int AesGcmDecrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                                std::span<const uint8_t, kAesGcmNonceSize> nonce,
                                std::span<const uint8_t> associated,
                                std::span<const uint8_t> cipher,
                                std::span<const uint8_t, kAesGcmTagSize> tag,
                                std::span<uint8_t> plain);

}  // namespace platform
