#include "crypto/legacy_cipher.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

using legacy::Decoded;
using legacy::Encoded;

std::string Encode2(const std::string& clear, const char* key1 = "sa", const char* key2 = "INST1") {
  std::string text = "untouched";
  EXPECT_EQ(legacy::EncodeSecondGeneration(clear, key1, key2, &text), Encoded::kText);
  return text;
}

Decoded Decode2(const std::string& text, std::string* clear, const char* key1 = "sa",
                const char* key2 = "INST1") {
  return legacy::DecodeSecondGeneration(text, key1, key2, clear);
}

// Every length each form holds, of clear texts with blanks, markers after the
// first byte, hexadecimal letters, a zero byte and a high byte. The first
// generation is the same text every time.
TEST(LegacyCipherTest, BothGenerationsRoundTripEveryLengthTheyHold) {
  const std::string bytes = std::string("p#*!-= 0AF9z\xff", 13) + std::string(1, '\0');
  std::string clear;
  for (std::size_t size = 0; size <= legacy::kSecondGenerationCapacity; ++size) {
    SCOPED_TRACE(size);
    std::string text = Encode2(clear), back, again;
    EXPECT_TRUE(std::regex_match(text, std::regex("[0-9A-F]{88}"))) << text;
    EXPECT_EQ(Decode2(text, &back), Decoded::kClearText);
    EXPECT_EQ(back, clear);
    if (size <= legacy::kFirstGenerationCapacity) {
      ASSERT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &text), Encoded::kText);
      ASSERT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &again), Encoded::kText);
      EXPECT_EQ(text, again);
      EXPECT_TRUE(std::regex_match(text, std::regex("[0-9A-F]{64}"))) << text;
      EXPECT_EQ(legacy::DecodeFirstGeneration(text, &back), Decoded::kClearText);
      EXPECT_EQ(back, clear);
    }
    clear.push_back(bytes[size % bytes.size()]);
  }
}

TEST(LegacyCipherTest, SecondGenerationDiffersEveryTimeAndNeedsItsKeyTexts) {
  const std::string text = Encode2("secret");
  EXPECT_NE(Encode2("secret"), text);
  std::string clear = "untouched";
  EXPECT_EQ(Decode2(text, &clear, "INST1", "sa"), Decoded::kUnreadable);
  EXPECT_EQ(Decode2(text, &clear, "sa", "INST2"), Decoded::kUnreadable);
  EXPECT_EQ(Decode2(text, &clear, "sa", ""), Decoded::kUnreadable);
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
  const struct {
    std::string text;
    Decoded decoded;
    std::string clear;  // "untouched" unless kClearText
  } cases[] = {
      {"##x", Decoded::kClearText, "#x"},
      {"=", Decoded::kClearText, ""},
      {"*a b", Decoded::kClearText, "a b"},
      {"deadbeef", Decoded::kClearText, "deadbeef"},
      {"#DEADBEEF", Decoded::kClearText, "DEADBEEF"},
      {"#NONE", Decoded::kClearText, "NONE"},
      {"NONE ", Decoded::kClearText, "NONE "},
      {"NONE", Decoded::kNoPassword, "untouched"},
      {"1234", Decoded::kUnreadable, "untouched"},
      {std::string(64, '0'), Decoded::kUnreadable, "untouched"},
      {std::string(88, 'F'), Decoded::kUnreadable, "untouched"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string first = "untouched", second = "untouched";
    EXPECT_EQ(legacy::DecodeFirstGeneration(c.text, &first), c.decoded);
    EXPECT_EQ(Decode2(c.text, &second), c.decoded);
    EXPECT_EQ(first + "|" + second, c.clear + "|" + c.clear);
  }
}

}  // namespace
