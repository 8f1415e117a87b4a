// AES-256-GCM through Windows CNG. The algorithm provider, set to GCM once, is
// kept for the life of the process: opening it is the expensive step, while a
// key object per call costs little.
#include <windows.h>
// <bcrypt.h> needs the types of <windows.h>.
#include <bcrypt.h>

#include <climits>

#include "platform/aes_gcm.h"

namespace platform {
namespace {

// The status of a failed tag check (STATUS_AUTH_TAG_MISMATCH of <ntstatus.h>).
constexpr NTSTATUS kTagMismatch = static_cast<NTSTATUS>(0xC000A002L);

class Algorithm {
 public:
  Algorithm() {
    if (!BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&handle_, BCRYPT_AES_ALGORITHM, nullptr, 0))) {
      handle_ = nullptr;
      return;
    }
    auto* mode = reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(BCRYPT_CHAIN_MODE_GCM));
    if (!BCRYPT_SUCCESS(BCryptSetProperty(handle_, BCRYPT_CHAINING_MODE, mode,
                                          sizeof BCRYPT_CHAIN_MODE_GCM, 0))) {
      BCryptCloseAlgorithmProvider(handle_, 0);
      handle_ = nullptr;
    }
  }
  Algorithm(const Algorithm&) = delete;
  Algorithm& operator=(const Algorithm&) = delete;
  ~Algorithm() {
    if (handle_ != nullptr) BCryptCloseAlgorithmProvider(handle_, 0);
  }
  [[nodiscard]] BCRYPT_ALG_HANDLE get() const { return handle_; }

 private:
  BCRYPT_ALG_HANDLE handle_ = nullptr;
};

BCRYPT_ALG_HANDLE Provider() {
  static const Algorithm algorithm;
  return algorithm.get();
}

class Key {
 public:
  explicit Key(std::span<const uint8_t, kAesGcmKeySize> key) {
    BCRYPT_ALG_HANDLE provider = Provider();
    if (provider == nullptr || !BCRYPT_SUCCESS(BCryptGenerateSymmetricKey(
                                   provider, &handle_, nullptr, 0, const_cast<PUCHAR>(key.data()),
                                   static_cast<ULONG>(key.size()), 0))) {
      handle_ = nullptr;
    }
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (handle_ != nullptr) BCryptDestroyKey(handle_);
  }
  [[nodiscard]] BCRYPT_KEY_HANDLE get() const { return handle_; }

 private:
  BCRYPT_KEY_HANDLE handle_ = nullptr;
};

bool FitsUlong(std::size_t size) { return size <= ULONG_MAX; }

BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO ModeInfo(std::span<const uint8_t, kAesGcmNonceSize> nonce,
                                               std::span<const uint8_t> associated,
                                               const uint8_t* tag) {
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info;
  BCRYPT_INIT_AUTH_MODE_INFO(info);
  info.pbNonce = const_cast<PUCHAR>(nonce.data());
  info.cbNonce = static_cast<ULONG>(nonce.size());
  info.pbAuthData = associated.empty() ? nullptr : const_cast<PUCHAR>(associated.data());
  info.cbAuthData = static_cast<ULONG>(associated.size());
  info.pbTag = const_cast<PUCHAR>(tag);
  info.cbTag = static_cast<ULONG>(kAesGcmTagSize);
  return info;
}

}  // namespace

int AesGcmEncrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                  std::span<const uint8_t, kAesGcmNonceSize> nonce,
                  std::span<const uint8_t> associated, std::span<const uint8_t> plain,
                  std::span<uint8_t> cipher, std::span<uint8_t, kAesGcmTagSize> tag) {
  if (cipher.size() != plain.size() || !FitsUlong(plain.size()) || !FitsUlong(associated.size())) {
    return kAesGcmFailed;
  }
  const Key handle(key);
  if (handle.get() == nullptr) return kAesGcmFailed;
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info = ModeInfo(nonce, associated, tag.data());
  ULONG written = 0;
  const NTSTATUS status = BCryptEncrypt(
      handle.get(), const_cast<PUCHAR>(plain.data()), static_cast<ULONG>(plain.size()), &info,
      nullptr, 0, cipher.data(), static_cast<ULONG>(cipher.size()), &written, 0);
  return BCRYPT_SUCCESS(status) && written == plain.size() ? kAesGcmOk : kAesGcmFailed;
}

int AesGcmDecrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                  std::span<const uint8_t, kAesGcmNonceSize> nonce,
                  std::span<const uint8_t> associated, std::span<const uint8_t> cipher,
                  std::span<const uint8_t, kAesGcmTagSize> tag, std::span<uint8_t> plain) {
  if (cipher.size() != plain.size() || !FitsUlong(cipher.size()) || !FitsUlong(associated.size())) {
    return kAesGcmFailed;
  }
  const Key handle(key);
  if (handle.get() == nullptr) return kAesGcmFailed;
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info = ModeInfo(nonce, associated, tag.data());
  ULONG written = 0;
  const NTSTATUS status = BCryptDecrypt(
      handle.get(), const_cast<PUCHAR>(cipher.data()), static_cast<ULONG>(cipher.size()), &info,
      nullptr, 0, plain.data(), static_cast<ULONG>(plain.size()), &written, 0);
  if (BCRYPT_SUCCESS(status) && written == cipher.size()) return kAesGcmOk;
  // Whatever was written is not authentic; nobody may see it.
  if (!plain.empty()) SecureZeroMemory(plain.data(), plain.size());
  return status == kTagMismatch ? kAesGcmBadTag : kAesGcmFailed;
}

}  // namespace platform
