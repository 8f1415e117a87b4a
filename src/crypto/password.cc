#include "crypto/password.h"

#include <climits>
#include <cstring>
#include <string_view>

#include "crypto/key_file_cipher.h"
#include "crypto/legacy_cipher.h"
#include "crypto/secure_wipe.h"
#include "support/message.h"

namespace {

// Source name and number under which this module reports.
constexpr char kSource[] = "vdbencry";
constexpr int kMessageLine = 116;

constexpr char kKeyName[] = "default";
// The key texts of the second-generation form when a caller has none.
constexpr char kDefaultKey1[] = "VDB";
constexpr char kDefaultKey2[] = "DEFAULT";

// The result of Decrypt0100: its callers are handed this buffer, so it has to
// outlive the call. The clear text in it is wiped before the buffer is reused,
// when a caller says it has copied the text out, and at exit.
constexpr std::size_t kDecryptedSize = 150;
struct DecryptedBuffer {
  char bytes[kDecryptedSize] = {};
  ~DecryptedBuffer() { crypto::Wipe(bytes, sizeof bytes); }
};
DecryptedBuffer g_decrypted;

// A clear text that is wiped when it goes out of scope.
struct Secret {
  std::string text;
  Secret() = default;
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;
  ~Secret() { crypto::Wipe(&text); }
};

std::string_view KeyText(const char* key, const char* fallback) {
  return key != nullptr ? key : fallback;
}

// Lengths beyond an int are out of the cipher's range; -1 makes it say so.
int CipherLength(std::size_t size) { return size > INT_MAX ? -1 : static_cast<int>(size); }

bool Encipher(const char* routine, const std::string& clear, std::string* password) {
  char* result = nullptr;
  int length = 0;
  const int status =
      CRY_Encrypt(clear.data(), CipherLength(clear.size()), &result, &length, kKeyName, kKeyName);
  if (status != CRY_OK) {
    msg_write(routine, kSource, kMessageLine, "e", nullptr, "CRY_Encrypt failed with error [%d]\n",
              status);
    return false;
  }
  // The password may be clear text: wiped first, so that no part of it stays
  // behind in a buffer the assignment gives up.
  crypto::Wipe(password);
  password->assign(result, static_cast<std::size_t>(length));
  CRY_Free(result);
  return true;
}

bool Decipher(const char* routine, const std::string& text, std::string* clear) {
  char* result = nullptr;
  int length = 0;
  const int status = CRY_Decrypt(text.data(), CipherLength(text.size()), &result, &length);
  if (status != CRY_OK) {
    msg_write(routine, kSource, kMessageLine, "e", nullptr, "CRY_Decrypt failed with error [%d]\n",
              status);
    return false;
  }
  clear->assign(result, static_cast<std::size_t>(length));
  CRY_Free(result);
  return true;
}

// True when a decoder left clear text in *clear. Hexadecimal digits that are no
// legacy text under the key texts (a clear password such as "123456") are
// clear text after all: they decode to themselves. False only for "NONE".
bool ClearTextOf(legacy::Decoded decoded, std::string_view text, std::string* clear) {
  if (decoded == legacy::Decoded::kUnreadable) clear->assign(text);
  return decoded != legacy::Decoded::kNoPassword;
}

// Copies a result into the buffer of Decrypt0100, which the call has wiped.
const char* KeepDecrypted(const char* bytes, std::size_t size) {
  if (size >= kDecryptedSize) {
    msg_write("Decrypt0100", kSource, kMessageLine, "e", nullptr,
              "Result of %d bytes does not fit the %d-byte buffer\n", static_cast<int>(size),
              static_cast<int>(kDecryptedSize));
    return nullptr;
  }
  std::memcpy(g_decrypted.bytes, bytes, size);
  return g_decrypted.bytes;
}

}  // namespace

char* Encrypt0100(const char* clear) {
  if (clear == nullptr || *clear == '\0') return nullptr;
  char* result = nullptr;
  int length = 0;
  const int status =
      CRY_Encrypt(clear, CipherLength(std::strlen(clear)), &result, &length, kKeyName, kKeyName);
  if (status != CRY_OK) {
    msg_write("Encrypt0100", kSource, kMessageLine, "e", nullptr,
              "CRY_Encrypt failed with error [%d]\n", status);
    return nullptr;
  }
  return result;
}

const char* Decrypt0100(const char* text) {
  // Whatever the call answers, the previous result ends here.
  WipeDecrypt0100Result();
  if (text == nullptr || *text == '\0') return nullptr;
  const std::size_t length = std::strlen(text);
  if (length <= static_cast<std::size_t>(CRY_MARKER_LENGTH) ||
      std::strstr(text, CRY_MARKER) == nullptr) {
    return KeepDecrypted(text, length);
  }
  char* result = nullptr;
  int resultLength = 0;
  const int status = CRY_Decrypt(text, CipherLength(length), &result, &resultLength);
  if (status != CRY_OK) {
    msg_write("Decrypt0100", kSource, kMessageLine, "e", nullptr,
              "CRY_Decrypt failed with error [%d]\n", status);
    return nullptr;
  }
  const char* kept = KeepDecrypted(result, static_cast<std::size_t>(resultLength));
  CRY_Free(result);
  return kept;
}

void WipeDecrypt0100Result() { crypto::Wipe(g_decrypted.bytes, sizeof g_decrypted.bytes); }

bool convertToVDBPassword(std::string* password, const char* key1, const char* key2) {
  static constexpr char kRoutine[] = "convertToVDBPassword";
  if (password == nullptr || password->empty()) return false;
  Secret clear;
  const legacy::Decoded decoded =
      password->size() == legacy::kFirstGenerationDigits
          ? legacy::DecodeFirstGeneration(*password, &clear.text)
          : legacy::DecodeSecondGeneration(*password, KeyText(key1, kDefaultKey1),
                                           KeyText(key2, kDefaultKey2), &clear.text);
  if (!ClearTextOf(decoded, *password, &clear.text)) return false;
  return Encipher(kRoutine, clear.text, password);
}

bool convertFromVDBPassword(std::string* password, const char* key1, const char* key2) {
  static constexpr char kRoutine[] = "convertFromVDBPassword";
  if (password == nullptr || password->empty()) return false;
  const std::string_view k1 = KeyText(key1, kDefaultKey1);
  const std::string_view k2 = KeyText(key2, kDefaultKey2);
  Secret stored;
  stored.text = *password;
  if (stored.text.find(CRY_MARKER) != std::string::npos &&
      !Decipher(kRoutine, *password, &stored.text)) {
    return false;
  }
  Secret clear;
  const std::size_t size = stored.text.size();
  legacy::Decoded decoded = legacy::Decoded::kClearText;
  if (size == legacy::kFirstGenerationDigits) {
    decoded = legacy::DecodeFirstGeneration(stored.text, &clear.text);
  } else if (size == legacy::kSecondGenerationDigits) {
    decoded = legacy::DecodeSecondGeneration(stored.text, k1, k2, &clear.text);
  } else {
    clear.text = stored.text;
  }
  if (!ClearTextOf(decoded, stored.text, &clear.text)) return false;
  std::string encoded;
  if (legacy::EncodeSecondGeneration(clear.text, k1, k2, &encoded) == legacy::Encoded::kTooLong) {
    msg_write(kRoutine, kSource, kMessageLine, "e", nullptr,
              "Password longer than the %d bytes the legacy form holds\n",
              static_cast<int>(legacy::kSecondGenerationCapacity));
    return false;
  }
  crypto::Wipe(password);
  *password = encoded;
  return true;
}

bool decodeVDBPassword(const std::string& password, std::string* clear) {
  const legacy::Decoded decoded =
      password.size() == legacy::kFirstGenerationDigits
          ? legacy::DecodeFirstGeneration(password, clear)
          : legacy::DecodeSecondGeneration(password, kDefaultKey1, kDefaultKey2, clear);
  return ClearTextOf(decoded, password, clear);
}
