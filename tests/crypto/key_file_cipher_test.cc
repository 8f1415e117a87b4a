#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "crypto/key_home.h"

namespace {

using sqxa_test::Contents;
using sqxa_test::Decrypt;
using sqxa_test::Encrypt;

// The text with the top bit of byte `index` of its enciphered data flipped,
// made by changing the one base64 digit that carries that bit.
std::string FlipBit(std::string text, std::size_t index) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  char& digit = text[CRY_MARKER_LENGTH + 8 * index / 6];
  digit = kAlphabet[kAlphabet.find(digit) ^ (1u << (5 - 8 * index % 6))];
  return text;
}

// The first line of a checked-in file.
std::string Fixture(const std::string& name) {
  const std::string text = Contents(std::string(SQXA_FIXTURE_DIR) + "/crypto/" + name);
  return text.substr(0, text.find('\n'));
}

class KeyFileCipherTest : public sqxa_test::KeyHomeTest {
 protected:
  // MARLOX_KEYFILE names `path` until the test ends or the next call.
  void UseKeyFile(const std::optional<std::string>& path) {
    key_file_.reset();
    key_file_.emplace("MARLOX_KEYFILE", path);
  }
  std::optional<sqxa_test::ScopedEnv> key_file_;
  int status_ = -1;
};

TEST_F(KeyFileCipherTest, FirstEncryptionCreatesAPrivateKeyFileLaterOnesUseIt) {
  // Deciphering never creates the key file.
  EXPECT_EQ(Decrypt(Fixture("made_by_posix.txt"), &status_), "");
  EXPECT_EQ(status_, CRY_E_NO_KEY_FILE);
  EXPECT_TRUE(home_.Entries().empty());

  std::string first;
  sqxa_test::ExpectCreatedPrivate([&] { first = Encrypt("secret", &status_); }, KeyFile());
  const std::string key = Contents(KeyFile());
  EXPECT_TRUE(std::regex_match(key, std::regex("[0-9a-f]{64}\n"))) << key;
  EXPECT_NE(Encrypt("secret", &status_), first);  // a fresh nonce per call
  EXPECT_EQ(Contents(KeyFile()), key);
  // nothing left of the creation but the key file
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home_.path() / "keyfiles"), {}), 1);
  const std::regex form(
      "\\{AES256:keyfile:a\\}([A-Za-z0-9+/]{4})*([A-Za-z0-9+/]{2}==|[A-Za-z0-9+/]{3}=)?");
  for (const std::string& clear : {std::string("secret"), std::string(), std::string("a"),
                                   std::string("nul\0inside\xff", 11), std::string(1000, 'x')}) {
    const std::string text = clear == "secret" ? first : Encrypt(clear, &status_);
    EXPECT_TRUE(std::regex_match(text, form)) << text;
    EXPECT_EQ(Decrypt(text, &status_), clear);
    EXPECT_EQ(status_, CRY_OK);
  }
}

// A private file is created once and never replaced: two runs that create the
// key at once go on with the same key.
TEST(PrivateFileTest, CreatesOnceAndNeverReplaces) {
  sqxa_test::ScratchDir dir;
  const std::string path = dir.File("secret.key");
  sqxa_test::ExpectCreatedPrivate(
      [&] { ASSERT_EQ(platform::CreatePrivateFile(path, "first\n"), 0); }, path);
  EXPECT_EQ(platform::CreatePrivateFile(path, "second\n"), EEXIST);
  EXPECT_EQ(Contents(path), "first\n");
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"secret.key"});  // no temporaries left
  EXPECT_EQ(platform::CreatePrivateFile(dir.File("missing") + "/secret.key", "x"), ENOENT);
}

TEST_F(KeyFileCipherTest, KeyFileLocation) {
  // A key name chooses the file under the home, but a text does not name its
  // key, so deciphering uses "default".
  (void)Decrypt(Encrypt("x", &status_, "inst1"), &status_);
  EXPECT_EQ(status_, CRY_E_NO_KEY_FILE);
  EXPECT_TRUE(platform::FileExists(KeyFile("inst1")));

  // MARLOX_KEYFILE overrides both.
  sqxa_test::ScratchDir elsewhere;
  UseKeyFile(elsewhere.File("my.key"));
  std::string text;
  sqxa_test::ExpectCreatedPrivate([&] { text = Encrypt("y", &status_, "inst1"); },
                                  elsewhere.File("my.key"));
  EXPECT_EQ(Decrypt(text, &status_), "y");
  EXPECT_FALSE(platform::FileExists(KeyFile()));

  // Names that would leave the key directory are refused.
  UseKeyFile(std::nullopt);
  for (const char* name : {"", "..", ".hidden", "a/b", "a\\b", "c:x"}) {
    (void)Encrypt("z", &status_, name);
    EXPECT_EQ(status_, CRY_E_ARGUMENT) << name;
  }
  // Without a home nor MARLOX_KEYFILE there is no key file at all.
  sqxa_test::ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  (void)Encrypt("z", &status_);
  EXPECT_EQ(status_, CRY_E_NO_KEY_PATH);
  (void)Decrypt(text, &status_);
  EXPECT_EQ(status_, CRY_E_NO_KEY_PATH);
}

TEST_F(KeyFileCipherTest, MalformedOrSharedKeyFilesAreRefusedAndLeftAsTheyAre) {
  const std::string digits(64, 'a');
  ASSERT_EQ(platform::MakeDirectory((home_.path() / "keyfiles").string()), 0);
  for (const std::string& contents :
       {std::string(), digits.substr(1) + "\n", digits + "a\n", "g" + digits.substr(1) + "\n",
        digits.substr(0, 32) + " " + digits.substr(33) + "\n", digits + "\n\n"}) {
    WritePrivate(KeyFile(), contents);
    EXPECT_EQ(Encrypt("x", &status_), "");
    EXPECT_EQ(status_, CRY_E_BAD_KEY_FILE) << contents;
    EXPECT_EQ(Contents(KeyFile()), contents);
  }
  // A line end that went through an editor, and upper-case digits, still hold a key.
  WritePrivate(KeyFile(), std::string(64, 'A') + "\r\n");
  const std::string text = Encrypt("x", &status_);
  EXPECT_EQ(Decrypt(text, &status_), "x");
  // A key that others may read protects nothing: both directions refuse it,
  // and CRY_CheckKeyFile says why.
  UseKeyFile(home_.File("shared.key"));
  ASSERT_EQ(platform::ReplaceFileContents(home_.File("shared.key"), Contents(KeyFile())), 0);
  std::filesystem::permissions(home_.File("shared.key"), std::filesystem::perms(0644));
  EXPECT_EQ(Decrypt(text, &status_), "");
  EXPECT_EQ(status_, CRY_E_KEY_FILE_ACCESS);
  EXPECT_EQ(Encrypt("x", &status_), "");
  EXPECT_EQ(status_, CRY_E_KEY_FILE_ACCESS);
  EXPECT_EQ(CRY_CheckKeyFile(), CRY_E_KEY_FILE_ACCESS);
  EXPECT_STREQ(CRY_StatusText(CRY_E_KEY_FILE_ACCESS), "other users may read or write it");
}

TEST_F(KeyFileCipherTest, AlteredMalformedOrForeignTextsAreRejected) {
  const std::string text = Encrypt("secret password", &status_);
  // nonce (12 bytes), data (15), tag (16)
  for (const std::size_t index : {0, 11, 12, 26, 27, 12 + 15 + 16 - 1}) {
    EXPECT_EQ(Decrypt(FlipBit(text, index), &status_), "") << index;
    EXPECT_EQ(status_, CRY_E_TAG) << index;
  }
  const std::string body = text.substr(CRY_MARKER_LENGTH), marker = CRY_MARKER;
  for (const std::string& bad :
       {body, marker, marker + body.substr(1), marker + body + "====",
        marker + std::string(36, 'A'),  // 27 bytes: shorter than nonce and tag
        " " + text, marker + body.substr(0, 4) + "*" + body.substr(5),
        marker + "QQ==" + std::string(36, 'A'),
        marker + std::string(36, 'A') + "AAB="}) {  // bits beyond the data
    EXPECT_EQ(Decrypt(bad, &status_), "") << bad;
    EXPECT_EQ(status_, CRY_E_BAD_TEXT) << bad;
  }
  char* result = nullptr;
  int length = 0;
  EXPECT_EQ(CRY_Encrypt("x", 1, nullptr, &length, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Encrypt("x", 1, &result, nullptr, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Encrypt("x", -1, &result, &length, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Encrypt(nullptr, 3, &result, &length, "default", "default"), CRY_E_ARGUMENT);
  EXPECT_EQ(CRY_Decrypt(nullptr, 3, &result, &length), CRY_E_ARGUMENT);
  EXPECT_EQ(result, nullptr);

  // A text made under another key fails its tag.
  WritePrivate(home_.File("fixed.key"),
               Contents(std::string(SQXA_FIXTURE_DIR) + "/crypto/fixed.key"));
  UseKeyFile(home_.File("fixed.key"));
  EXPECT_EQ(Decrypt(text, &status_), "");
  EXPECT_EQ(status_, CRY_E_TAG);
  // The checked-in texts were made once by the native build (OpenSSL) and once
  // by the Windows build (CNG) under that key; both builds read both.
  for (const char* name : {"made_by_posix.txt", "made_by_win32.txt"}) {
    EXPECT_EQ(Decrypt(Fixture(name), &status_), "Interop p\xc3\xa4ssw0rd #1") << name;
    EXPECT_EQ(status_, CRY_OK) << name;
  }
}

}  // namespace
