#include "crypto/password.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "crypto/key_home.h"
#include "crypto/legacy_cipher.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

using legacy::Decoded;
using sqxa_test::Decrypt;
using sqxa_test::Encrypt;

std::string Legacy2(const std::string& clear, const char* key2 = "INST1") {
  std::string text = "untouched";
  EXPECT_EQ(legacy::EncodeSecondGeneration(clear, "sa", key2, &text), legacy::Encoded::kText);
  return text;
}
std::string Legacy1(const std::string& clear) {
  std::string text;
  EXPECT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &text), legacy::Encoded::kText);
  return text;
}
Decoded Decode2(const std::string& text, std::string* clear, const char* key2 = "INST1") {
  return legacy::DecodeSecondGeneration(text, "sa", key2, clear);
}

// Every length each form holds, of clear texts with blanks, markers after the
// first byte, hexadecimal letters, a zero byte and a high byte.
TEST(LegacyCipherTest, BothGenerationsRoundTripEveryLengthTheyHold) {
  const std::string bytes = std::string("p#*!-= 0AF9z\xff", 13) + std::string(1, '\0');
  std::string clear, back;
  for (std::size_t size = 0; size <= legacy::kSecondGenerationCapacity; ++size) {
    SCOPED_TRACE(size);
    const std::string text = Legacy2(clear);
    EXPECT_TRUE(std::regex_match(text, std::regex("[0-9A-F]{88}"))) << text;
    EXPECT_EQ(Decode2(text, &back), Decoded::kClearText);
    EXPECT_EQ(back, clear);
    if (size <= legacy::kFirstGenerationCapacity) {
      EXPECT_EQ(legacy::DecodeFirstGeneration(Legacy1(clear), &back), Decoded::kClearText);
      EXPECT_EQ(back, clear);
    }
    clear.push_back(bytes[size % bytes.size()]);
  }
}

TEST(LegacyCipherTest, SecondGenerationDiffersEveryTimeAndNeedsItsKeyTexts) {
  const std::string text = Legacy2("secret");
  EXPECT_NE(Legacy2("secret"), text);
  std::string clear = "untouched";
  EXPECT_EQ(legacy::DecodeSecondGeneration(text, "INST1", "sa", &clear), Decoded::kUnreadable);
  EXPECT_EQ(Decode2(text, &clear, "INST2"), Decoded::kUnreadable);
  // Every altered digit is noticed, none gives a wrong password.
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string altered = text;
    altered[i] = altered[i] == '0' ? '1' : '0';
    EXPECT_EQ(Decode2(altered, &clear), Decoded::kUnreadable) << i;
  }
  EXPECT_EQ(clear, "untouched");
}

// What both decoders make of texts that are no legacy text of theirs: clear
// text loses one leading marker, hexadecimal digits are taken for a legacy
// text that cannot be read, "NONE" is no password.
TEST(LegacyCipherTest, DecodersReadClearTextAndNone) {
  const std::pair<std::string, std::string> cases[] = {
      {"##x", "#x"},
      {"=", ""},
      {"*a b", "a b"},
      {"deadbeef", "deadbeef"},
      {"#DEADBEEF", "DEADBEEF"},
      {"#NONE", "NONE"},
      {"NONE ", "NONE "},
      {"NONE", "<no password>"},
      {"1234", "<unreadable>"},
  };
  const auto outcome = [](Decoded decoded, const std::string& clear) {
    return decoded == Decoded::kClearText    ? clear
           : decoded == Decoded::kNoPassword ? "<no password>"
                                             : "<unreadable>";
  };
  for (const auto& [text, expected] : cases) {
    std::string first, second;
    EXPECT_EQ(outcome(legacy::DecodeFirstGeneration(text, &first), first), expected) << text;
    EXPECT_EQ(outcome(Decode2(text, &second), second), expected) << text;
  }
}

class PasswordTest : public sqxa_test::KeyHomeTest {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }
  // The clear text of a key-file text; "<failed>" when it is none.
  static std::string Clear(const std::string& text) {
    int status = -1;
    const std::string clear = Decrypt(text, &status);
    return text.rfind(CRY_MARKER, 0) == 0 && status == CRY_OK ? clear : "<failed>";
  }
  int status_ = -1;
};

// Decrypt0100 gives texts that are no key-file texts back as they are; its
// results end at its 150-byte buffer, which no clear text outlives.
TEST_F(PasswordTest, Decrypt0100AndItsBuffer) {
  char* keyed0100 = Encrypt0100("secret");
  EXPECT_STREQ(Decrypt0100(keyed0100), "secret");
  CRY_Free(keyed0100);
  EXPECT_STREQ(Decrypt0100(CRY_MARKER), CRY_MARKER);
  const std::string longest(149, 'p'), overlong(150, 'p');
  EXPECT_EQ(Decrypt0100(Encrypt(longest, &status_).c_str()), longest);
  const char* buffer = Decrypt0100("ab");
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(std::string(buffer, 150), "ab" + std::string(148, '\0'));
  WipeDecrypt0100Result();
  EXPECT_EQ(std::string(buffer, 150), std::string(150, '\0'));
  const std::string keyed = Encrypt(overlong, &status_);
  const Captured got = Capture([&] {
    EXPECT_EQ(Decrypt0100(overlong.c_str()), nullptr);
    EXPECT_EQ(Decrypt0100(keyed.c_str()), nullptr);
  });
  EXPECT_NE(got.err.find("does not fit"), std::string::npos) << got.err;
}

// 64 characters are read as a first-generation text, any other length as a
// second-generation one under "sa" and "INST1"; hexadecimal digits that are
// neither are a clear password after all. "<left>": the password unchanged.
TEST_F(PasswordTest, ConvertToKeyFileFormChoosesTheDecoderByLength) {
  const std::string foreign = Legacy2("other keys", "INST2");
  const std::pair<std::string, std::string> cases[] = {
      {"secret", "secret"},
      {"#secret", "secret"},
      {"#", ""},
      {"DEADBEEF", "DEADBEEF"},
      {Legacy2("second"), "second"},
      {Legacy1("first"), "first"},
      {std::string(64, '0'), std::string(64, '0')},
      {foreign, foreign},
      {"", "<left>"},
      {"NONE", "<left>"},
  };
  for (const auto& [stored, expected] : cases) {
    std::string password = stored;
    bool converted = false;
    const Captured got =
        Capture([&] { converted = convertToVDBPassword(&password, "sa", "INST1"); });
    if (!converted) password = password == stored ? "<left>" : "<changed> " + password;
    EXPECT_EQ(converted ? Clear(password) : password, expected) << stored;
    EXPECT_EQ(converted ? got.out + got.err : "", "");  // nothing said of a conversion that worked
  }
}

TEST_F(PasswordTest, FailuresAreReportedWithoutThePassword) {
  const std::string secret = "Sup3r-s3cret";
  std::string output;
  const auto run = [&](auto code) {
    const Captured got = Capture(code);
    output += got.out + got.err;
  };
  std::string overlong = secret + std::string(40, 'x');
  run([&] { (void)convertFromVDBPassword(&overlong, "sa", "INST1"); });
  std::string damaged = Encrypt(secret, &status_);
  damaged[CRY_MARKER_LENGTH + 20] = damaged[CRY_MARKER_LENGTH + 20] == 'A' ? 'B' : 'A';
  run([&] { EXPECT_EQ(Decrypt0100(damaged.c_str()), nullptr); });
  // Without a key file location the cipher fails and the password stays.
  sqxa_test::ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  std::string plain = secret;
  run([&] { EXPECT_FALSE(convertToVDBPassword(&plain, "sa", "INST1")); });
  EXPECT_EQ(plain, secret);
  run([&] { EXPECT_EQ(Encrypt0100(secret.c_str()), nullptr); });

  for (const char* message :
       {"CRY_Decrypt failed with error [8]", "CRY_Encrypt failed with error [2]"}) {
    EXPECT_NE(output.find(message), std::string::npos) << output;
  }
  for (const std::string& password : {secret, damaged.substr(CRY_MARKER_LENGTH)}) {
    EXPECT_EQ(output.find(password), std::string::npos) << output;
  }
}

}  // namespace
