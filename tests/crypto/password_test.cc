#include "crypto/password.h"

#include <gtest/gtest.h>

#include <string>

#include "crypto/key_home.h"
#include "crypto/legacy_cipher.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

class PasswordTest : public sqxa_test::KeyHomeTest {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }

  static std::string Legacy2(const std::string& clear, const char* key2 = "INST1") {
    std::string text;
    EXPECT_EQ(legacy::EncodeSecondGeneration(clear, "sa", key2, &text), legacy::Encoded::kText);
    return text;
  }
  static std::string Legacy1(const std::string& clear) {
    std::string text;
    EXPECT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &text), legacy::Encoded::kText);
    return text;
  }
  static std::string Keyed(const std::string& clear) {
    char* text = Encrypt0100(clear.c_str());
    std::string copy = text != nullptr ? text : "<failed>";
    CRY_Free(text);
    return copy;
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
  EXPECT_STREQ(Decrypt0100(Keyed("secret").c_str()), "secret");
  EXPECT_EQ(Encrypt0100(nullptr), nullptr);
  EXPECT_EQ(Encrypt0100(""), nullptr);
  EXPECT_EQ(Decrypt0100(nullptr), nullptr);
  EXPECT_EQ(Decrypt0100(""), nullptr);
  // Texts that are no key-file texts come back as they are, the marker alone too.
  EXPECT_STREQ(Decrypt0100("plain"), "plain");
  EXPECT_STREQ(Decrypt0100(CRY_MARKER), CRY_MARKER);

  // Results end at the 150-byte buffer, which no clear text outlives.
  const std::string longest(149, 'p'), overlong(150, 'p');
  EXPECT_EQ(Decrypt0100(longest.c_str()), longest);
  const char* buffer = Decrypt0100("ab");
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(std::string(buffer, 150), "ab" + std::string(148, '\0'));
  WipeDecrypt0100Result();
  EXPECT_EQ(std::string(buffer, 150), std::string(150, '\0'));
  EXPECT_EQ(Clear(Keyed(longest)), longest);
  const std::string keyed = Keyed(overlong);
  const Captured got = Capture([&] {
    EXPECT_EQ(Decrypt0100(overlong.c_str()), nullptr);
    EXPECT_EQ(Decrypt0100(keyed.c_str()), nullptr);
  });
  EXPECT_NE(got.err.find("does not fit"), std::string::npos) << got.err;
}

// Both directions under the key texts "sa" and "INST1". To the key-file form,
// a text of 64 characters is read as a first-generation text, any other as a
// second-generation one, and hexadecimal digits that are neither (a 64-digit
// hash, another key's text) are a clear password after all. From it, other
// lengths are clear text as they stand, and a marked clear text has no legacy
// form. "<left>": no conversion, the password unchanged; "-": not tried.
TEST_F(PasswordTest, ConversionsChooseTheDecoderByLength) {
  const std::string foreign = Legacy2("other keys", "INST2");
  const std::string overlong(legacy::kSecondGenerationCapacity + 1, 'x');
  const struct {
    std::string stored, to, from;
  } cases[] = {
      {"secret", "secret", "secret"},
      {"#secret", "secret", ""},
      {"#", "", "-"},
      {"DEADBEEF", "DEADBEEF", "DEADBEEF"},
      {Legacy2("second"), "second", "second"},
      {Legacy1("first"), "first", "first"},
      {std::string(64, '0'), std::string(64, '0'), "<left>"},
      {foreign, foreign, "<left>"},
      {overlong, overlong, "<left>"},
      {"", "<left>", "<left>"},
      {"NONE", "<left>", "NONE"},
      {Keyed("via key file"), "-", "via key file"},
      {Keyed(overlong), "-", "<left>"},
      {std::string(CRY_MARKER) + "garbage", "-", "<left>"},
  };
  // What a conversion gave: the clear text of its result, or "<left>".
  const auto outcome = [](bool converted, const std::string& before, const std::string& after) {
    return converted ? after : after == before ? "<left>" : "<changed>";
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.stored);
    std::string to = c.stored, from = c.stored, clear;
    bool converted = false;
    const Captured got = Capture([&] { converted = convertToVDBPassword(&to, "sa", "INST1"); });
    const std::string to_clear =
        c.to == "-" ? "-" : outcome(converted, c.stored, converted ? Clear(to) : to);
    EXPECT_EQ(converted ? got.out + got.err : "", "");  // nothing said of a conversion that worked
    Capture([&] { converted = convertFromVDBPassword(&from, "sa", "INST1"); });
    if (converted && !from.empty()) {
      EXPECT_EQ(from.size(), legacy::kSecondGenerationDigits);
      EXPECT_EQ(legacy::DecodeSecondGeneration(from, "sa", "INST1", &clear),
                legacy::Decoded::kClearText);
      from = clear;
    }
    const std::string from_clear = c.from == "-" ? "-" : outcome(converted, c.stored, from);
    EXPECT_EQ(to_clear + " / " + from_clear, c.to + " / " + c.from);
  }
}

// Null key texts are the module's defaults, as in the length switch, which
// reads 64 characters as a first-generation text.
TEST_F(PasswordTest, DefaultKeyTextsAndTheLengthSwitch) {
  std::string password = "defaults", clear, first;
  ASSERT_TRUE(convertFromVDBPassword(&password, nullptr, nullptr));
  EXPECT_TRUE(decodeVDBPassword(password, &clear) && decodeVDBPassword(Legacy1("first"), &first));
  EXPECT_EQ(clear + "|" + first, "defaults|first");
  EXPECT_FALSE(decodeVDBPassword("NONE", &clear));
  EXPECT_TRUE(convertToVDBPassword(&password, nullptr, nullptr));
  EXPECT_EQ(Clear(password), "defaults");
}

TEST_F(PasswordTest, FailuresAreReportedWithoutThePassword) {
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
  std::string damaged = Keyed(secret);
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
  for (const std::string& password :
       {secret, std::string("C0FFEE0123"), damaged.substr(CRY_MARKER_LENGTH)}) {
    EXPECT_EQ(output.find(password), std::string::npos) << output;
  }
}

}  // namespace
