#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "crypto/legacy_cipher.h"

namespace {

using legacy::Decoded;
using legacy::Encoded;

// A clear text of `size` bytes with blanks, markers after the first byte,
// hexadecimal letters, a zero byte and a high byte.
std::string Sample(std::size_t size) {
  static const std::string kBytes = std::string("p#*!-= 0AF9z\xff", 13) + std::string(1, '\0');
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text.push_back(kBytes[i % kBytes.size()]);
  return text;
}

std::string Encode2(const std::string& clear, const char* key1 = "sa", const char* key2 = "INST1") {
  std::string text = "untouched";
  EXPECT_EQ(legacy::EncodeSecondGeneration(clear, key1, key2, &text), Encoded::kText);
  return text;
}

Decoded Decode2(const std::string& text, std::string* clear, const char* key1 = "sa",
                const char* key2 = "INST1") {
  return legacy::DecodeSecondGeneration(text, key1, key2, clear);
}

TEST(LegacyCipherTest, SecondGenerationRoundTripsEveryLengthItHolds) {
  const std::regex form("[0-9A-F]{88}");
  for (std::size_t size = 0; size <= legacy::kSecondGenerationCapacity; ++size) {
    const std::string clear = Sample(size);
    const std::string text = Encode2(clear);
    EXPECT_TRUE(std::regex_match(text, form)) << size;
    std::string back;
    EXPECT_EQ(Decode2(text, &back), Decoded::kClearText) << size;
    EXPECT_EQ(back, clear) << size;
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

TEST(LegacyCipherTest, FirstGenerationRoundTripsAndIsFixed) {
  for (std::size_t size = 0; size <= legacy::kFirstGenerationCapacity; ++size) {
    const std::string clear = Sample(size);
    std::string text, again, back;
    ASSERT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &text), Encoded::kText);
    ASSERT_EQ(legacy::EncodeFirstGenerationForTesting(clear, &again), Encoded::kText);
    EXPECT_EQ(text, again);
    EXPECT_TRUE(std::regex_match(text, std::regex("[0-9A-F]{64}"))) << size;
    EXPECT_EQ(legacy::DecodeFirstGeneration(text, &back), Decoded::kClearText) << size;
    EXPECT_EQ(back, clear) << size;
  }
}

TEST(LegacyCipherTest, ClearTextAndNonePassBothDecoders) {
  const struct {
    std::string text, clear;
  } cases[] = {
      {"secret", "secret"},
      {"#secret", "secret"},
      {"##x", "#x"},
      {"=", ""},
      {"*a b", "a b"},
      {"deadbeef", "deadbeef"},
      {"#DEADBEEF", "DEADBEEF"},
      {"#NONE", "NONE"},
      {"NONE ", "NONE "},
  };
  for (const auto& c : cases) {
    std::string first, second;
    EXPECT_EQ(legacy::DecodeFirstGeneration(c.text, &first), Decoded::kClearText) << c.text;
    EXPECT_EQ(Decode2(c.text, &second), Decoded::kClearText) << c.text;
    EXPECT_EQ(first, c.clear);
    EXPECT_EQ(second, c.clear);
  }
  std::string clear = "untouched";
  EXPECT_EQ(legacy::DecodeFirstGeneration("NONE", &clear), Decoded::kNoPassword);
  EXPECT_EQ(Decode2("NONE", &clear), Decoded::kNoPassword);
  EXPECT_EQ(clear, "untouched");
}

TEST(LegacyCipherTest, HexadecimalClearTextIsTakenForLegacyText) {
  std::string clear = "untouched";
  for (const std::string& text :
       {std::string("DEADBEEF"), std::string("1234"), std::string(88, 'F'), std::string(87, '0')}) {
    EXPECT_EQ(Decode2(text, &clear), Decoded::kUnreadable) << text;
  }
  EXPECT_EQ(legacy::DecodeFirstGeneration(std::string(64, '0'), &clear), Decoded::kUnreadable);
  EXPECT_EQ(clear, "untouched");
}

TEST(LegacyCipherTest, MarkedAndOverlongClearTexts) {
  for (const char* marked : {"#secret", "*", "!x", "-x", "=x"}) {
    EXPECT_EQ(Encode2(marked), "") << marked;
    std::string text = "untouched";
    EXPECT_EQ(legacy::EncodeFirstGenerationForTesting(marked, &text), Encoded::kText);
    EXPECT_EQ(text, "");
  }
  std::string text = "untouched";
  EXPECT_EQ(legacy::EncodeSecondGeneration(Sample(legacy::kSecondGenerationCapacity + 1), "sa",
                                           "INST1", &text),
            Encoded::kTooLong);
  EXPECT_EQ(
      legacy::EncodeFirstGenerationForTesting(Sample(legacy::kFirstGenerationCapacity + 1), &text),
      Encoded::kTooLong);
  EXPECT_EQ(text, "untouched");
}

}  // namespace
