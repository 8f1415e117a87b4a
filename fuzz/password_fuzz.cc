// Any bytes as a stored password: the legacy decoders and the key-file
// decipher never crash nor read past the text, and what the key-file cipher
// deciphers is what it enciphered.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "crypto/key_file_cipher.h"
#include "crypto/legacy_cipher.h"
#include "crypto/password.h"
#include "platform/system.h"

namespace {

std::string Decipher(const std::string& text, int* status) {
  char* result = nullptr;
  int length = 0;
  *status = CRY_Decrypt(text.data(), static_cast<int>(text.size()), &result, &length);
  std::string clear = result != nullptr ? std::string(result, static_cast<size_t>(length)) : "";
  CRY_Free(result);
  return clear;
}

std::filesystem::path& Home() {
  static std::filesystem::path home;
  return home;
}

void RemoveHome() {
  std::error_code ignored;
  std::filesystem::remove_all(Home(), ignored);
}

}  // namespace

// A key of the run's own, in a home under the temporary directory that goes
// when the run ends.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Home() = std::filesystem::temp_directory_path() /
           ("sqxa-password-fuzz-" + std::to_string(platform::CurrentProcessId()));
  const std::filesystem::path& home = Home();
  std::filesystem::create_directories(home);
  std::atexit(RemoveHome);
  (void)platform::SetEnvironment("MARLOX_HOME", home.string() + "/");
  platform::UnsetEnvironment("MARLOX_KEYFILE");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string clear;
  (void)legacy::DecodeFirstGeneration(text, &clear);
  (void)legacy::DecodeSecondGeneration(text, "key one", "key two", &clear);
  (void)decodeVDBPassword(text, &clear);
  std::string converted = text;
  (void)convertFromVDBPassword(&converted, nullptr, nullptr);

  int status = 0;
  (void)Decipher(text, &status);
  (void)Decipher(CRY_MARKER + text, &status);

  char* enciphered = nullptr;
  int length = 0;
  if (CRY_Encrypt(text.data(), static_cast<int>(text.size()), &enciphered, &length, nullptr,
                  nullptr) == CRY_OK) {
    const std::string again =
        Decipher(std::string(enciphered, static_cast<size_t>(length)), &status);
    if (status != CRY_OK || again != text) std::abort();
  }
  CRY_Free(enciphered);
  return 0;
}
