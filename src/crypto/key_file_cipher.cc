#include "crypto/key_file_cipher.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/secure_wipe.h"
#include "framework/product_dirs.h"
#include "platform/aes_gcm.h"
#include "platform/files.h"
#include "platform/private_file.h"
#include "platform/secure_random.h"
#include "platform/system.h"

namespace {

constexpr std::size_t kNonceSize = platform::kAesGcmNonceSize;
constexpr std::size_t kTagSize = platform::kAesGcmTagSize;
constexpr std::size_t kKeySize = platform::kAesGcmKeySize;
// Passwords are short; the bound keeps every size computed from a length far
// from overflowing an int.
constexpr int kMaxClearLength = 1 << 24;
constexpr char kDefaultKeyName[] = "default";

using crypto::Wipe;

// A key that is wiped when it goes out of scope.
struct Key {
  std::array<uint8_t, kKeySize> bytes{};
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() { Wipe(bytes.data(), bytes.size()); }
};

// --- results -------------------------------------------------------------

// A result carries its size in front of it, so that CRY_Free can wipe it.
constexpr std::size_t kHeaderSize = alignof(std::max_align_t);
static_assert(kHeaderSize >= sizeof(std::size_t));

char* AllocateResult(std::size_t size) {
  auto* block = static_cast<unsigned char*>(std::malloc(kHeaderSize + size));
  if (block == nullptr) return nullptr;
  std::memcpy(block, &size, sizeof size);
  return reinterpret_cast<char*>(block + kHeaderSize);
}

// --- base64 --------------------------------------------------------------

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Base64(std::span<const uint8_t> data) {
  std::string text;
  text.reserve((data.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= data.size(); i += 3) {
    const uint32_t group = data[i] << 16 | data[i + 1] << 8 | data[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) text.push_back(kAlphabet[(group >> shift) & 63]);
  }
  const std::size_t rest = data.size() - i;
  if (rest > 0) {
    const uint32_t group = data[i] << 16 | (rest == 2 ? data[i + 1] << 8 : 0);
    text.push_back(kAlphabet[group >> 18]);
    text.push_back(kAlphabet[(group >> 12) & 63]);
    text.push_back(rest == 2 ? kAlphabet[(group >> 6) & 63] : '=');
    text.push_back('=');
  }
  return text;
}

int Base64Value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

// Strict decoding: whole groups of four, padding only at the end, no blanks,
// and no bits set beyond the data, so that each byte string has one text.
bool FromBase64(std::string_view text, std::vector<uint8_t>* data) {
  if (text.size() % 4 != 0) return false;
  std::size_t padding = 0;
  if (!text.empty() && text.back() == '=') padding = text[text.size() - 2] == '=' ? 2 : 1;
  data->clear();
  data->reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    const std::size_t digits = last ? 4 - padding : 4;
    uint32_t group = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const int value = k < digits ? Base64Value(text[i + k]) : 0;
      if (value < 0) return false;
      group = group << 6 | static_cast<uint32_t>(value);
    }
    if ((digits == 2 && (group & 0xFFFF) != 0) || (digits == 3 && (group & 0xFF) != 0)) {
      return false;
    }
    data->push_back(static_cast<uint8_t>(group >> 16));
    if (digits >= 3) data->push_back(static_cast<uint8_t>(group >> 8));
    if (digits == 4) data->push_back(static_cast<uint8_t>(group));
  }
  return true;
}

// --- key files -----------------------------------------------------------

struct KeyLocation {
  std::string path;
  // The directory to create when the file is created; empty when the path was
  // given by MARLOX_KEYFILE, whose directory is the user's business.
  std::string directory;
};

// A key name becomes a file name: letters, digits, "_", "-" and inner dots.
bool ValidKeyName(std::string_view name) {
  if (name.empty() || name.size() > 64 || name.front() == '.') return false;
  for (const char c : name) {
    const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                         (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
    if (!allowed) return false;
  }
  return true;
}

int Locate(const char* keyName, KeyLocation* where) {
  const char* setting = std::getenv("MARLOX_KEYFILE");
  if (setting != nullptr && *setting != '\0') {
    where->path = setting;
    return CRY_OK;
  }
  const std::string_view name = keyName != nullptr ? keyName : kDefaultKeyName;
  if (!ValidKeyName(name)) return CRY_E_ARGUMENT;
  std::string home;
  if (!VFW::Util::getMarloxHomeDir(&home)) return CRY_E_NO_KEY_PATH;
  where->directory = home + "keyfiles";
  where->path = where->directory + "\\" + std::string(name) + ".key";
  return CRY_OK;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// 64 hexadecimal digits and an optional line end ("\n" or "\r\n", for files
// that went through an editor).
bool ParseKey(std::string_view contents, Key* key) {
  if (contents.ends_with('\n')) contents.remove_suffix(1);
  if (contents.ends_with('\r')) contents.remove_suffix(1);
  if (contents.size() != 2 * kKeySize) return false;
  for (std::size_t i = 0; i < kKeySize; ++i) {
    const int high = HexValue(contents[2 * i]);
    const int low = HexValue(contents[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    key->bytes[i] = static_cast<uint8_t>(high << 4 | low);
  }
  return true;
}

int ReadKeyOnce(const std::string& path, Key* key) {
  switch (platform::CheckPrivateFile(path)) {
    case 0:
      break;
    case ENOENT:
      return CRY_E_NO_KEY_FILE;
    case EPERM:
      return CRY_E_KEY_FILE_ACCESS;
    default:
      return CRY_E_KEY_FILE_READ;
  }
  std::string contents;
  const int error = platform::ReadFileContents(path, &contents);
  if (error == ENOENT) return CRY_E_NO_KEY_FILE;
  if (error != 0) return CRY_E_KEY_FILE_READ;
  const bool parsed = ParseKey(contents, key);
  Wipe(&contents);
  return parsed ? CRY_OK : CRY_E_BAD_KEY_FILE;
}

// A key file that another run has just put in place can refuse to be read for
// a moment on Windows (held by its creator's system or by a scanner, as seen
// when many runs start at once): it is tried again for a short while.
int ReadKey(const std::string& path, Key* key) {
  constexpr int kAttempts = 20;
  constexpr uint32_t kPauseMs = 10;
  int status = ReadKeyOnce(path, key);
  for (int attempt = 1; attempt < kAttempts && status == CRY_E_KEY_FILE_READ; ++attempt) {
    platform::SleepMilliseconds(kPauseMs);
    status = ReadKeyOnce(path, key);
  }
  return status;
}

int CreateKey(const KeyLocation& where, Key* key) {
  if (platform::SecureRandomBytes(key->bytes.data(), key->bytes.size()) != 0) return CRY_E_BACKEND;
  if (!where.directory.empty()) {
    const int made = platform::MakeDirectory(where.directory);
    if (made != 0 && made != EEXIST) return CRY_E_KEY_FILE_WRITE;
  }
  // Sized up front, so that no reallocation leaves a copy of the digits behind.
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * kKeySize + 1);
  for (const uint8_t byte : key->bytes) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  text.push_back('\n');
  const int error = platform::CreatePrivateFile(where.path, text);
  Wipe(&text);
  // Another process created the file first: its key is the one to use.
  if (error == EEXIST) return ReadKey(where.path, key);
  return error == 0 ? CRY_OK : CRY_E_KEY_FILE_WRITE;
}

// The key of the latest key file used, so that a run converting several
// passwords reads its key file once.
class KeyCache {
 public:
  int Get(const KeyLocation& where, bool create, Key* key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (path_.empty() || path_ != where.path) {
      int status = ReadKey(where.path, &key_);
      if (status == CRY_E_NO_KEY_FILE && create) status = CreateKey(where, &key_);
      if (status != CRY_OK) {
        path_.clear();
        return status;
      }
      path_ = where.path;
    }
    key->bytes = key_.bytes;
    return CRY_OK;
  }

 private:
  std::mutex mutex_;
  std::string path_;  // empty while key_ holds no key
  Key key_;
};

KeyCache& Keys() {
  static KeyCache cache;
  return cache;
}

// The key of the key file `keyName` names (null: the usual one), made when
// missing if `create`.
int KeyFor(const char* keyName, bool create, Key* key) {
  KeyLocation where;
  const int status = Locate(keyName, &where);
  return status != CRY_OK ? status : Keys().Get(where, create, key);
}

}  // namespace

int CRY_Encrypt(const char* text, int length, char** result, int* resultLength, const char* keyName,
                const char* /*keyName2*/) {
  if (result == nullptr || resultLength == nullptr) return CRY_E_ARGUMENT;
  *result = nullptr;
  *resultLength = 0;
  if (length < 0 || length > kMaxClearLength || (text == nullptr && length > 0)) {
    return CRY_E_ARGUMENT;
  }
  Key key;
  if (const int status = KeyFor(keyName, true, &key); status != CRY_OK) return status;

  const auto size = static_cast<std::size_t>(length);
  std::vector<uint8_t> sealed(kNonceSize + size + kTagSize);
  const std::span<uint8_t> all(sealed);
  const auto nonce = all.first<kNonceSize>();
  if (platform::SecureRandomBytes(nonce.data(), nonce.size()) != 0) return CRY_E_BACKEND;
  const std::span<const uint8_t> plain(reinterpret_cast<const uint8_t*>(text), size);
  if (platform::AesGcmEncrypt(key.bytes, nonce, {}, plain, all.subspan(kNonceSize, size),
                              all.last<kTagSize>()) != platform::kAesGcmOk) {
    return CRY_E_BACKEND;
  }

  const std::string encoded = CRY_MARKER + Base64(sealed);
  char* out = AllocateResult(encoded.size() + 1);
  if (out == nullptr) return CRY_E_MEMORY;
  std::memcpy(out, encoded.c_str(), encoded.size() + 1);
  *result = out;
  *resultLength = static_cast<int>(encoded.size());
  return CRY_OK;
}

int CRY_Decrypt(const char* text, int length, char** result, int* resultLength) {
  if (result == nullptr || resultLength == nullptr) return CRY_E_ARGUMENT;
  *result = nullptr;
  *resultLength = 0;
  if (length < 0 || (text == nullptr && length > 0)) return CRY_E_ARGUMENT;
  const std::string_view input = length > 0 ? std::string_view(text, length) : std::string_view();
  std::vector<uint8_t> sealed;
  if (!input.starts_with(CRY_MARKER) || !FromBase64(input.substr(CRY_MARKER_LENGTH), &sealed) ||
      sealed.size() < kNonceSize + kTagSize) {
    return CRY_E_BAD_TEXT;
  }
  Key key;
  int status = KeyFor(nullptr, false, &key);
  if (status != CRY_OK) return status;

  const std::span<const uint8_t> all(sealed);
  const std::size_t size = sealed.size() - kNonceSize - kTagSize;
  char* out = AllocateResult(size + 1);
  if (out == nullptr) return CRY_E_MEMORY;
  status = platform::AesGcmDecrypt(key.bytes, all.first<kNonceSize>(), {},
                                   all.subspan(kNonceSize, size), all.last<kTagSize>(),
                                   std::span(reinterpret_cast<uint8_t*>(out), size));
  if (status != platform::kAesGcmOk) {
    CRY_Free(out);
    return status == platform::kAesGcmBadTag ? CRY_E_TAG : CRY_E_BACKEND;
  }
  out[size] = '\0';
  *result = out;
  *resultLength = static_cast<int>(size);
  return CRY_OK;
}

void CRY_Free(char* result) {
  if (result == nullptr) return;
  unsigned char* block = reinterpret_cast<unsigned char*>(result) - kHeaderSize;
  std::size_t size;
  std::memcpy(&size, block, sizeof size);
  Wipe(block, kHeaderSize + size);
  std::free(block);
}

int CRY_KeyFilePath(std::string* path) {
  KeyLocation where;
  const int status = Locate(nullptr, &where);
  if (status == CRY_OK) *path = where.path;
  return status;
}

int CRY_CheckKeyFile() {
  KeyLocation where;
  const int status = Locate(nullptr, &where);
  if (status != CRY_OK) return status;
  Key key;
  return ReadKey(where.path, &key);
}

const char* CRY_StatusText(int status) {
  switch (status) {
    case CRY_OK:
      return "no error";
    case CRY_E_ARGUMENT:
      return "invalid argument";
    case CRY_E_NO_KEY_PATH:
      return "no key file is named and there is no product home";
    case CRY_E_NO_KEY_FILE:
      return "it does not exist";
    case CRY_E_KEY_FILE_READ:
      return "it cannot be read";
    case CRY_E_KEY_FILE_WRITE:
      return "it cannot be created";
    case CRY_E_BAD_KEY_FILE:
      return "it does not hold a key of 64 hexadecimal digits";
    case CRY_E_BAD_TEXT:
      return "not an enciphered text";
    case CRY_E_TAG:
      return "the text was altered or made with another key";
    case CRY_E_BACKEND:
      return "the cipher failed";
    case CRY_E_MEMORY:
      return "out of memory";
    case CRY_E_KEY_FILE_ACCESS:
      return "other users may read or write it";
    default:
      return "unknown error";
  }
}
