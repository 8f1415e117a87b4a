#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "common/scopes.h"
#include "crypto/key_file_cipher.h"
#include "crypto/key_home.h"
#include "platform/files.h"

namespace {

using sqxa_test::Contents;
using sqxa_test::Decrypt;
using sqxa_test::Encrypt;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The text with the top bit of byte `index` of its enciphered data flipped,
// made by changing the one base64 digit that carries that bit.
std::string FlipBit(std::string text, std::size_t index) {
  const std::size_t bit = 8 * index;
  char& digit = text[CRY_MARKER_LENGTH + bit / 6];
  const std::size_t value = std::string_view(kAlphabet).find(digit);
  digit = kAlphabet[value ^ (1u << (5 - bit % 6))];
  return text;
}

std::string FixturePath(const std::string& name) {
  return std::string(SQXA_FIXTURE_DIR) + "/crypto/" + name;
}

class KeyFileCipherTest : public sqxa_test::KeyHomeTest {
 protected:
  // MARLOX_KEYFILE names `path` until the test ends or the next call.
  void UseKeyFile(const std::optional<std::string>& path) {
    key_file_.reset();
    key_file_.emplace("MARLOX_KEYFILE", path);
  }
  // The key file the checked-in texts were made under.
  void UseFixedKey() {
    WritePrivate(home_.File("fixed.key"), Contents(FixturePath("fixed.key")));
    UseKeyFile(home_.File("fixed.key"));
  }
  std::optional<sqxa_test::ScopedEnv> key_file_;
};

TEST_F(KeyFileCipherTest, FirstEncryptionCreatesTheKeyFileLaterOnesUseIt) {
  int status = -1;
  EXPECT_FALSE(platform::FileExists(KeyFile()));
  const std::string first = Encrypt("secret", &status);
  ASSERT_EQ(status, CRY_OK);
  const std::string key = Contents(KeyFile());
  EXPECT_TRUE(std::regex_match(key, std::regex("[0-9a-f]{64}\n"))) << key;

  const std::string second = Encrypt("secret", &status);
  ASSERT_EQ(status, CRY_OK);
  EXPECT_EQ(Contents(KeyFile()), key);
  EXPECT_NE(first, second);  // a fresh nonce per call
  EXPECT_EQ(Decrypt(first, &status), "secret");
  EXPECT_EQ(Decrypt(second, &status), "secret");
  // nothing left of the creation but the key file
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home_.path() / "keyfiles"), {}), 1);
}

TEST_F(KeyFileCipherTest, TextFormRoundTripsAnyBytes) {
  const std::string cases[] = {"", "a", "secret", std::string("nul\0inside\xff", 11),
                               std::string(1000, 'x')};
  const std::regex form(
      "\\{AES256:keyfile:a\\}([A-Za-z0-9+/]{4})*([A-Za-z0-9+/]{2}==|[A-Za-z0-9+/]{3}=)?");
  for (const std::string& clear : cases) {
    int status = -1;
    const std::string text = Encrypt(clear, &status);
    ASSERT_EQ(status, CRY_OK);
    EXPECT_TRUE(std::regex_match(text, form)) << text;
    EXPECT_EQ(Decrypt(text, &status), clear);
    EXPECT_EQ(status, CRY_OK);
  }
}

TEST_F(KeyFileCipherTest, KeyFileLocation) {
  int status = -1;
  // A key name chooses the file under the home...
  (void)Encrypt("x", &status, "inst1");
  ASSERT_EQ(status, CRY_OK);
  EXPECT_TRUE(platform::FileExists(KeyFile("inst1")));
  // ...but a text does not name its key, so deciphering uses "default".
  (void)Decrypt(Encrypt("x", &status, "inst1"), &status);
  EXPECT_EQ(status, CRY_E_NO_KEY_FILE);

  // MARLOX_KEYFILE overrides both.
  sqxa_test::ScratchDir elsewhere;
  UseKeyFile(elsewhere.File("my.key"));
  const std::string text = Encrypt("y", &status, "inst1");
  ASSERT_EQ(status, CRY_OK);
  EXPECT_TRUE(platform::FileExists(elsewhere.File("my.key")));
  EXPECT_EQ(Decrypt(text, &status), "y");
  EXPECT_FALSE(platform::FileExists(KeyFile()));

  // Names that would leave the key directory are refused.
  UseKeyFile(std::nullopt);
  for (const char* name : {"", "..", ".hidden", "a/b", "a\\b", "c:x"}) {
    (void)Encrypt("z", &status, name);
    EXPECT_EQ(status, CRY_E_ARGUMENT) << name;
  }
  // Without a home nor MARLOX_KEYFILE there is no key file at all.
  sqxa_test::ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  (void)Encrypt("z", &status);
  EXPECT_EQ(status, CRY_E_NO_KEY_PATH);
  (void)Decrypt(text, &status);
  EXPECT_EQ(status, CRY_E_NO_KEY_PATH);
}

TEST_F(KeyFileCipherTest, DecryptionNeverCreatesTheKeyFile) {
  int status = -1;
  const std::string text = Contents(FixturePath("made_by_posix.txt"));
  EXPECT_EQ(Decrypt(text.substr(0, text.find('\n')), &status), "");
  EXPECT_EQ(status, CRY_E_NO_KEY_FILE);
  EXPECT_TRUE(home_.Entries().empty());
}

TEST_F(KeyFileCipherTest, MalformedKeyFilesAreRejectedAndLeftAsTheyAre) {
  const std::string digits(64, 'a');
  ASSERT_EQ(platform::MakeDirectory((home_.path() / "keyfiles").string()), 0);
  for (const std::string& contents :
       {std::string(), digits.substr(1) + "\n", digits + "a\n", "g" + digits.substr(1) + "\n",
        digits.substr(0, 32) + " " + digits.substr(33) + "\n", digits + "\n\n"}) {
    WritePrivate(KeyFile(), contents);
    int status = -1;
    EXPECT_EQ(Encrypt("x", &status), "");
    EXPECT_EQ(status, CRY_E_BAD_KEY_FILE) << contents;
    EXPECT_EQ(Contents(KeyFile()), contents);
  }
  // A line end that went through an editor, and upper-case digits, still hold a key.
  WritePrivate(KeyFile(), std::string(64, 'A') + "\r\n");
  int status = -1;
  EXPECT_EQ(Decrypt(Encrypt("x", &status), &status), "x");
  EXPECT_EQ(status, CRY_OK);
}

// A key that others may read protects nothing: such a key file is refused by
// both directions, as is one that is no file, and CRY_CheckKeyFile says why.
TEST_F(KeyFileCipherTest, KeyFilesOthersMayReadOrThatAreNoFilesAreRefused) {
  int status = -1;
  const std::string text = Encrypt("x", &status);
  ASSERT_EQ(status, CRY_OK);
  const std::string key = Contents(KeyFile());
  const std::string shared = home_.File("shared.key");
  ASSERT_EQ(platform::ReplaceFileContents(shared, key), 0);
  std::filesystem::permissions(shared, std::filesystem::perms(0644));
  const std::string folder = home_.File("folder.key");
  ASSERT_EQ(platform::MakeDirectory(folder), 0);
  const struct {
    std::string path;
    int status;
  } cases[] = {{shared, CRY_E_KEY_FILE_ACCESS}, {folder, CRY_E_KEY_FILE_READ}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    UseKeyFile(c.path);
    EXPECT_EQ(Decrypt(text, &status), "");
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(Encrypt("x", &status), "");
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(CRY_CheckKeyFile(), c.status);
  }
  EXPECT_STREQ(CRY_StatusText(CRY_E_KEY_FILE_ACCESS), "other users may read or write it");
  std::string path;
  ASSERT_EQ(CRY_KeyFilePath(&path), CRY_OK);
  EXPECT_EQ(path, folder);
}

TEST_F(KeyFileCipherTest, AlteredOrForeignTextsAreRejected) {
  int status = -1;
  const std::string text = Encrypt("secret password", &status);
  ASSERT_EQ(status, CRY_OK);
  const std::size_t sealed = 12 + 15 + 16;
  for (const std::size_t index : {std::size_t{0}, std::size_t{11}, std::size_t{12}, std::size_t{26},
                                  std::size_t{27}, sealed - 1}) {
    EXPECT_EQ(Decrypt(FlipBit(text, index), &status), "") << index;
    EXPECT_EQ(status, CRY_E_TAG) << index;
  }

  const std::string body = text.substr(CRY_MARKER_LENGTH);
  for (const std::string& bad :
       {body, std::string(CRY_MARKER), CRY_MARKER + body.substr(1), CRY_MARKER + body + "====",
        CRY_MARKER + std::string(36, 'A'),  // 27 bytes: shorter than nonce and tag
        " " + text, CRY_MARKER + body.substr(0, 4) + "*" + body.substr(5),
        std::string(CRY_MARKER) + "QQ==" + std::string(36, 'A'),
        CRY_MARKER + std::string(36, 'A') + "AAB="}) {  // bits beyond the data
    EXPECT_EQ(Decrypt(bad, &status), "") << bad;
    EXPECT_EQ(status, CRY_E_BAD_TEXT) << bad;
  }

  // A text made under another key fails its tag.
  UseFixedKey();
  EXPECT_EQ(Decrypt(text, &status), "");
  EXPECT_EQ(status, CRY_E_TAG);
}

TEST_F(KeyFileCipherTest, ArgumentsOutOfRange) {
  char* result = nullptr;
  int length = 0;
  EXPECT_EQ(CRY_Encrypt("x", 1, nullptr, &length, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Encrypt("x", 1, &result, nullptr, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Encrypt("x", -1, &result, &length, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Encrypt(nullptr, 3, &result, &length, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Decrypt(nullptr, 3, &result, &length), CRY_E_ARGUMENT);
  EXPECT_EQ(result, nullptr);
  EXPECT_TRUE(home_.Entries().empty());
  CRY_Free(nullptr);
}

// The checked-in texts were made once by the native build (OpenSSL) and once by
// the Windows build (CNG) under the checked-in key; both builds read both.
TEST_F(KeyFileCipherTest, BothBuildsReadTheCheckedInTexts) {
  UseFixedKey();
  for (const char* name : {"made_by_posix.txt", "made_by_win32.txt"}) {
    const std::string text = Contents(FixturePath(name));
    int status = -1;
    EXPECT_EQ(Decrypt(text.substr(0, text.find('\n')), &status), "Interop p\xc3\xa4ssw0rd #1")
        << name;
    EXPECT_EQ(status, CRY_OK) << name;
  }
}

}  // namespace
