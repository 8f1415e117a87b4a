// AES-256-GCM from OpenSSL's default provider, called through the provider's
// own table of functions rather than through EVP. A first EVP use makes
// OpenSSL read its configuration, load its error texts and build its table of
// every cipher and name it knows: about 7 million instructions, a third of a
// whole get, for the one password a run enciphers. The implementation is the
// one EVP would pick (AES-NI where the processor has it, constant time); only
// the lookup is skipped. The system's OpenSSL configuration is not read: the
// cipher is fixed, and nothing in it could change the bytes.
#include <openssl/core.h>
#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <memory>
#include <string_view>

#include "platform/aes_gcm.h"

namespace platform {
namespace {

constexpr std::string_view kAlgorithm = "AES-256-GCM";

struct ProviderUnload {
  void operator()(OSSL_PROVIDER* provider) const { OSSL_PROVIDER_unload(provider); }
};
using Provider = std::unique_ptr<OSSL_PROVIDER, ProviderUnload>;

// The provider's AES-256-GCM: its functions and one context of it.
class Gcm {
 public:
  Gcm() {
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS, nullptr);
    provider_.reset(OSSL_PROVIDER_load(nullptr, "default"));
    if (!provider_ || !Find()) return;
    context_ = newctx_(OSSL_PROVIDER_get0_provider_ctx(provider_.get()));
  }
  ~Gcm() {
    if (context_ != nullptr) freectx_(context_);  // the provider wipes its key schedule
  }
  Gcm(const Gcm&) = delete;
  Gcm& operator=(const Gcm&) = delete;

  bool Start(bool decrypt, std::span<const uint8_t, kAesGcmKeySize> key,
             std::span<const uint8_t, kAesGcmNonceSize> nonce) {
    if (context_ == nullptr) return false;
    auto* init = decrypt ? decrypt_init_ : encrypt_init_;
    return init(context_, key.data(), key.size(), nonce.data(), nonce.size(), nullptr) == 1;
  }

  // Feeds the associated data, then the input; the output has the input's
  // size (GCM is a stream mode: every update writes as many bytes as it reads).
  bool Update(std::span<const uint8_t> associated, std::span<const uint8_t> input,
              std::span<uint8_t> output) {
    std::size_t written = 0;
    // Without an output the provider takes the input as associated data.
    if (!associated.empty() && update_(context_, nullptr, &written, associated.size(),
                                       associated.data(), associated.size()) != 1) {
      return false;
    }
    if (input.empty()) return true;
    return update_(context_, output.data(), &written, output.size(), input.data(), input.size()) ==
               1 &&
           written == input.size();
  }

  // Ends the message; deciphering, fails when the tag set before does not match.
  bool Finish() {
    unsigned char none[1];
    std::size_t written = 0;
    return final_(context_, none, &written, 0) == 1;
  }

  bool GetTag(std::span<uint8_t, kAesGcmTagSize> tag) {
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_octet_string(OSSL_CIPHER_PARAM_AEAD_TAG, tag.data(), tag.size()),
        OSSL_PARAM_construct_end()};
    return get_params_(context_, params) == 1;
  }

  bool SetTag(std::span<const uint8_t, kAesGcmTagSize> tag) {
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_octet_string(OSSL_CIPHER_PARAM_AEAD_TAG,
                                          const_cast<uint8_t*>(tag.data()), tag.size()),
        OSSL_PARAM_construct_end()};
    return set_params_(context_, params) == 1;
  }

 private:
  // The provider's implementation of the algorithm, by its first name.
  bool Find() {
    int no_cache = 0;
    const OSSL_ALGORITHM* algorithm =
        OSSL_PROVIDER_query_operation(provider_.get(), OSSL_OP_CIPHER, &no_cache);
    for (; algorithm != nullptr && algorithm->algorithm_names != nullptr; ++algorithm) {
      const std::string_view names = algorithm->algorithm_names;
      if (names.substr(0, names.find(':')) == kAlgorithm) return Take(algorithm->implementation);
    }
    return false;
  }

  bool Take(const OSSL_DISPATCH* function) {
    for (; function != nullptr && function->function_id != 0; ++function) {
      switch (function->function_id) {
        case OSSL_FUNC_CIPHER_NEWCTX:
          newctx_ = OSSL_FUNC_cipher_newctx(function);
          break;
        case OSSL_FUNC_CIPHER_FREECTX:
          freectx_ = OSSL_FUNC_cipher_freectx(function);
          break;
        case OSSL_FUNC_CIPHER_ENCRYPT_INIT:
          encrypt_init_ = OSSL_FUNC_cipher_encrypt_init(function);
          break;
        case OSSL_FUNC_CIPHER_DECRYPT_INIT:
          decrypt_init_ = OSSL_FUNC_cipher_decrypt_init(function);
          break;
        case OSSL_FUNC_CIPHER_UPDATE:
          update_ = OSSL_FUNC_cipher_update(function);
          break;
        case OSSL_FUNC_CIPHER_FINAL:
          final_ = OSSL_FUNC_cipher_final(function);
          break;
        case OSSL_FUNC_CIPHER_GET_CTX_PARAMS:
          get_params_ = OSSL_FUNC_cipher_get_ctx_params(function);
          break;
        case OSSL_FUNC_CIPHER_SET_CTX_PARAMS:
          set_params_ = OSSL_FUNC_cipher_set_ctx_params(function);
          break;
        default:
          break;
      }
    }
    return newctx_ != nullptr && freectx_ != nullptr && encrypt_init_ != nullptr &&
           decrypt_init_ != nullptr && update_ != nullptr && final_ != nullptr &&
           get_params_ != nullptr && set_params_ != nullptr;
  }

  Provider provider_;
  void* context_ = nullptr;
  OSSL_FUNC_cipher_newctx_fn* newctx_ = nullptr;
  OSSL_FUNC_cipher_freectx_fn* freectx_ = nullptr;
  OSSL_FUNC_cipher_encrypt_init_fn* encrypt_init_ = nullptr;
  OSSL_FUNC_cipher_decrypt_init_fn* decrypt_init_ = nullptr;
  OSSL_FUNC_cipher_update_fn* update_ = nullptr;
  OSSL_FUNC_cipher_final_fn* final_ = nullptr;
  OSSL_FUNC_cipher_get_ctx_params_fn* get_params_ = nullptr;
  OSSL_FUNC_cipher_set_ctx_params_fn* set_params_ = nullptr;
};

bool SameSize(std::span<const uint8_t> input, std::span<const uint8_t> output) {
  return input.size() == output.size();
}

}  // namespace

int AesGcmEncrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                  std::span<const uint8_t, kAesGcmNonceSize> nonce,
                  std::span<const uint8_t> associated, std::span<const uint8_t> plain,
                  std::span<uint8_t> cipher, std::span<uint8_t, kAesGcmTagSize> tag) {
  if (!SameSize(plain, cipher)) return kAesGcmFailed;
  Gcm gcm;
  if (!gcm.Start(false, key, nonce) || !gcm.Update(associated, plain, cipher) || !gcm.Finish() ||
      !gcm.GetTag(tag)) {
    return kAesGcmFailed;
  }
  return kAesGcmOk;
}

int AesGcmDecrypt(std::span<const uint8_t, kAesGcmKeySize> key,
                  std::span<const uint8_t, kAesGcmNonceSize> nonce,
                  std::span<const uint8_t> associated, std::span<const uint8_t> cipher,
                  std::span<const uint8_t, kAesGcmTagSize> tag, std::span<uint8_t> plain) {
  if (!SameSize(cipher, plain)) return kAesGcmFailed;
  Gcm gcm;
  if (!gcm.Start(true, key, nonce) || !gcm.Update(associated, cipher, plain) || !gcm.SetTag(tag)) {
    if (!plain.empty()) OPENSSL_cleanse(plain.data(), plain.size());
    return kAesGcmFailed;
  }
  if (!gcm.Finish()) {
    // The bytes deciphered so far are not authentic; nobody may see them.
    if (!plain.empty()) OPENSSL_cleanse(plain.data(), plain.size());
    return kAesGcmBadTag;
  }
  return kAesGcmOk;
}

}  // namespace platform
