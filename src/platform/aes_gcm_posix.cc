// AES-256-GCM through OpenSSL's EVP interface.
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <climits>
#include <memory>

#include "platform/aes_gcm.h"

namespace platform {
namespace {

struct ContextFree {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextFree>;

bool FitsInt(std::size_t size) { return size <= static_cast<std::size_t>(INT_MAX); }

// A new context for `decrypt` or encryption with the key and the nonce set.
Context Start(bool decrypt, std::span<const uint8_t, kAesGcmKeySize> key,
              std::span<const uint8_t, kAesGcmNonceSize> nonce) {
  Context context(EVP_CIPHER_CTX_new());
  if (!context) return nullptr;
  if (EVP_CipherInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr,
                        decrypt ? 0 : 1) != 1 ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kAesGcmNonceSize),
                          nullptr) != 1 ||
      EVP_CipherInit_ex(context.get(), nullptr, nullptr, key.data(), nonce.data(), -1) != 1) {
    return nullptr;
  }
  return context;
}

// Feeds the associated data, then the input; the output has the input's size
// (GCM is a stream mode: every update writes as many bytes as it reads).
bool Update(EVP_CIPHER_CTX* context, std::span<const uint8_t> associated,
            std::span<const uint8_t> input, std::span<uint8_t> output) {
  int written = 0;
  if (!associated.empty() && EVP_CipherUpdate(context, nullptr, &written, associated.data(),
                                              static_cast<int>(associated.size())) != 1) {
    return false;
  }
  if (input.empty()) return true;
  return EVP_CipherUpdate(context, output.data(), &written, input.data(),
                          static_cast<int>(input.size())) == 1 &&
         static_cast<std::size_t>(written) == input.size();
}

}  // namespace

int AesGcmEncrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                  std::span<const uint8_t, kAesGcmNonceSize> nonce,
                  std::span<const uint8_t> associated, std::span<const uint8_t> plain,
                  std::span<uint8_t> cipher, std::span<uint8_t, kAesGcmTagSize> tag) {
  if (cipher.size() != plain.size() || !FitsInt(plain.size()) || !FitsInt(associated.size())) {
    return kAesGcmFailed;
  }
  Context context = Start(false, key, nonce);
  int written = 0;
  if (!context || !Update(context.get(), associated, plain, cipher) ||
      EVP_EncryptFinal_ex(context.get(), cipher.data() + cipher.size(), &written) != 1 ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(tag.size()),
                          tag.data()) != 1) {
    return kAesGcmFailed;
  }
  return kAesGcmOk;
}

int AesGcmDecrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                  std::span<const uint8_t, kAesGcmNonceSize> nonce,
                  std::span<const uint8_t> associated, std::span<const uint8_t> cipher,
                  std::span<const uint8_t, kAesGcmTagSize> tag, std::span<uint8_t> plain) {
  if (cipher.size() != plain.size() || !FitsInt(cipher.size()) || !FitsInt(associated.size())) {
    return kAesGcmFailed;
  }
  Context context = Start(true, key, nonce);
  if (!context || !Update(context.get(), associated, cipher, plain) ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(tag.size()),
                          const_cast<uint8_t*>(tag.data())) != 1) {
    if (!plain.empty()) OPENSSL_cleanse(plain.data(), plain.size());
    return kAesGcmFailed;
  }
  int written = 0;
  if (EVP_DecryptFinal_ex(context.get(), plain.data() + plain.size(), &written) != 1) {
    // The bytes deciphered so far are not authentic; nobody may see them.
    if (!plain.empty()) OPENSSL_cleanse(plain.data(), plain.size());
    return kAesGcmBadTag;
  }
  return kAesGcmOk;
}

}  // namespace platform
