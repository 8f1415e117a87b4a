#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "crypto/key_file_cipher.h"
#include "crypto/key_home.h"
#include "crypto/legacy_cipher.h"
#include "crypto/password.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

class PasswordTest : public sqxa_test::KeyHomeTest {
 protected:
  void SetUp() override {
    KeyHomeTest::SetUp();
    msg_reset_for_testing();
  }
  void TearDown() override {
    msg_reset_for_testing();
    KeyHomeTest::TearDown();
  }

  static std::string Legacy2(const std::string& clear, const char* key1, const char* key2) {
    std::string text;
    EXPECT_EQ(legacy::EncodeSecondGeneration(clear, key1, key2, &text), legacy::Encoded::kText);
    return text;
  }
  static std::string Legacy1(const std::string& clear) {
    std::string text;
    EXPECT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &text), legacy::Encoded::kText);
    return text;
  }
  // The clear text of a key-file text; "<failed>" when it is none.
  static std::string Clear(const std::string& text) {
    if (text.rfind(CRY_MARKER, 0) != 0) return "<failed>";
    const char* clear = Decrypt0100(text.c_str());
    std::string copy = clear != nullptr ? clear : "<failed>";
    WipeDecrypt0100Result();
    return copy;
  }
};

TEST_F(PasswordTest, Encrypt0100AndDecrypt0100) {
  char* text = Encrypt0100("secret");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(std::strncmp(text, CRY_MARKER, CRY_MARKER_LENGTH), 0);
  EXPECT_STREQ(Decrypt0100(text), "secret");
  CRY_Free(text);

  EXPECT_EQ(Encrypt0100(nullptr), nullptr);
  EXPECT_EQ(Encrypt0100(""), nullptr);
  EXPECT_EQ(Decrypt0100(nullptr), nullptr);
  EXPECT_EQ(Decrypt0100(""), nullptr);
  // Texts that are no key-file texts come back as they are, the marker alone too.
  EXPECT_STREQ(Decrypt0100("plain"), "plain");
  EXPECT_STREQ(Decrypt0100(CRY_MARKER), CRY_MARKER);
}

TEST_F(PasswordTest, Decrypt0100ResultsEndAtItsBufferWhichIsWipedBeforeReuse) {
  const std::string longest(149, 'p');
  EXPECT_EQ(Decrypt0100(longest.c_str()), longest);
  // No byte of an earlier clear text outlives the next call or the wipe.
  const char* buffer = Decrypt0100("ab");
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(std::string(buffer, 150), "ab" + std::string(148, '\0'));
  WipeDecrypt0100Result();
  EXPECT_EQ(std::string(buffer, 150), std::string(150, '\0'));
  char* text = Encrypt0100(longest.c_str());
  EXPECT_EQ(Clear(text), longest);
  CRY_Free(text);

  const std::string overlong(150, 'p');
  text = Encrypt0100(overlong.c_str());
  const Captured got = Capture([&] {
    EXPECT_EQ(Decrypt0100(overlong.c_str()), nullptr);
    EXPECT_EQ(Decrypt0100(text), nullptr);
  });
  CRY_Free(text);
  EXPECT_NE(got.err.find("does not fit"), std::string::npos) << got.err;
}

TEST_F(PasswordTest, ConvertToKeyFileForm) {
  const std::string foreign = Legacy2("other keys", "sa", "INST2");
  const struct {
    std::string stored, clear;
  } cases[] = {
      {"secret", "secret"},
      {"#secret", "secret"},
      {"#0123", "0123"},
      {"#", ""},
      {Legacy2("from legacy", "sa", "INST1"), "from legacy"},
      {Legacy1("first generation"), "first generation"},
      // Hexadecimal digits that are no legacy text under the key texts are a
      // clear password after all: "123456", a 64-digit hash, another key's text.
      {"123456", "123456"},
      {std::string(64, '0'), std::string(64, '0')},
      {foreign, foreign},
  };
  for (const auto& c : cases) {
    std::string password = c.stored;
    const Captured got =
        Capture([&] { EXPECT_TRUE(convertToVDBPassword(&password, "sa", "INST1")) << c.stored; });
    EXPECT_EQ(got.out + got.err, "");  // nothing said of a conversion that worked
    EXPECT_EQ(Clear(password), c.clear) << c.stored;
  }
  // Null key texts are the module's defaults, as in the length switch.
  std::string password = "defaults";
  ASSERT_TRUE(convertFromVDBPassword(&password, nullptr, nullptr));
  EXPECT_TRUE(convertToVDBPassword(&password, nullptr, nullptr));
  EXPECT_EQ(Clear(password), "defaults");
}

TEST_F(PasswordTest, ConvertToLeavesWhatItCannotConvert) {
  for (const std::string& stored : {std::string(), std::string("NONE")}) {
    std::string password = stored;
    Capture([&] { EXPECT_FALSE(convertToVDBPassword(&password, "sa", "INST1")) << stored; });
    EXPECT_EQ(password, stored);
  }
  // Without a key file location the cipher fails.
  sqxa_test::ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  std::string password = "secret";
  const Captured got =
      Capture([&] { EXPECT_FALSE(convertToVDBPassword(&password, "sa", "INST1")); });
  EXPECT_EQ(password, "secret");
  EXPECT_NE(got.err.find("CRY_Encrypt failed with error [2]"), std::string::npos) << got.err;
}

TEST_F(PasswordTest, ConvertFromChoosesTheDecoderByLength) {
  char* keyed = Encrypt0100("via key file");
  const struct {
    std::string stored, clear;
  } cases[] = {
      {keyed, "via key file"},
      {Legacy1("first"), "first"},
      {Legacy2("second", "sa", "INST1"), "second"},
      {"DEADBEEF", "DEADBEEF"},  // other lengths are clear text as they stand
      {"#secret", ""},           // a marked clear text has no legacy form
  };
  CRY_Free(keyed);
  for (const auto& c : cases) {
    std::string password = c.stored;
    ASSERT_TRUE(convertFromVDBPassword(&password, "sa", "INST1")) << c.stored;
    if (c.clear.empty()) {
      EXPECT_EQ(password, "");
      continue;
    }
    ASSERT_EQ(password.size(), legacy::kSecondGenerationDigits);
    std::string clear;
    EXPECT_EQ(legacy::DecodeSecondGeneration(password, "sa", "INST1", &clear),
              legacy::Decoded::kClearText);
    EXPECT_EQ(clear, c.clear);
  }
}

TEST_F(PasswordTest, ConvertFromLeavesWhatItCannotConvert) {
  const std::string overlong(legacy::kSecondGenerationCapacity + 1, 'x');
  char* keyed = Encrypt0100(overlong.c_str());
  const std::string cases[] = {"", overlong, keyed, Legacy2("other keys", "sa", "INST2"),
                               std::string(CRY_MARKER) + "garbage"};
  CRY_Free(keyed);
  for (const std::string& stored : cases) {
    std::string password = stored;
    Capture([&] { EXPECT_FALSE(convertFromVDBPassword(&password, "sa", "INST1")) << stored; });
    EXPECT_EQ(password, stored);
  }
}

TEST_F(PasswordTest, LengthSwitchUsesTheDefaultKeyTexts) {
  std::string defaults = "with defaults";
  ASSERT_TRUE(convertFromVDBPassword(&defaults, nullptr, nullptr));
  const struct {
    std::string text, clear;
  } cases[] = {{Legacy1("first"), "first"},
               {defaults, "with defaults"},
               {"#secret", "secret"},
               {"plain", "plain"}};
  for (const auto& c : cases) {
    std::string clear;
    EXPECT_TRUE(decodeVDBPassword(c.text, &clear)) << c.text;
    EXPECT_EQ(clear, c.clear);
  }
  std::string clear;
  EXPECT_FALSE(decodeVDBPassword("NONE", &clear));
  const std::string foreign = Legacy2("x", "sa", "INST1");
  EXPECT_TRUE(decodeVDBPassword(foreign, &clear));
  EXPECT_EQ(clear, foreign);
}

TEST_F(PasswordTest, NoMessageCarriesAPassword) {
  const std::string secret = "Sup3r-s3cret";
  std::string output;
  const auto run = [&](auto code) {
    const Captured got = Capture(code);
    output += got.out + got.err;
  };
  std::string hexadecimal = "C0FFEE0123";  // a clear text taken for a legacy one
  run([&] { (void)convertToVDBPassword(&hexadecimal, "sa", "INST1"); });
  std::string overlong = secret + std::string(40, 'x');
  run([&] { (void)convertFromVDBPassword(&overlong, "sa", "INST1"); });
  char* keyed = Encrypt0100(secret.c_str());
  std::string damaged = keyed;
  CRY_Free(keyed);
  damaged[CRY_MARKER_LENGTH + 20] = damaged[CRY_MARKER_LENGTH + 20] == 'A' ? 'B' : 'A';
  run([&] { EXPECT_EQ(Decrypt0100(damaged.c_str()), nullptr); });
  sqxa_test::ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  std::string plain = secret;
  run([&] { (void)convertToVDBPassword(&plain, "sa", "INST1"); });
  run([&] { EXPECT_EQ(Encrypt0100(secret.c_str()), nullptr); });

  EXPECT_NE(output.find("CRY_Decrypt failed with error [8]"), std::string::npos) << output;
  for (const std::string& password :
       {secret, std::string("C0FFEE0123"), damaged.substr(CRY_MARKER_LENGTH)}) {
    EXPECT_EQ(output.find(password), std::string::npos) << output;
  }
}

}  // namespace
