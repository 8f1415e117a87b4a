// Formatting into a string: the short way taken for "%s", "%d" and "%%" and
// the C library's way give the same text for every kind of format.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>

#include "platform/text_format.h"

namespace platform {
namespace {

// The C library's text, the format checked as a literal.
#define LIBRARY(...) (std::snprintf(text, sizeof text, __VA_ARGS__), std::string(text))

TEST(TextFormatTest, SameTextAsTheCLibrary) {
  char text[256];
  const std::string long_text(3000, 'x');
  EXPECT_EQ(format("plain"), "plain");
  EXPECT_EQ(format("%s=%d%%", "n", -5), LIBRARY("%s=%d%%", "n", -5));
  EXPECT_EQ(format("%d %d", INT_MIN, INT_MAX), LIBRARY("%d %d", INT_MIN, INT_MAX));
  EXPECT_EQ(format("a%%n%s", "%d"), "a%n%d");  // data is never a format
  EXPECT_EQ(format("%5s|%-3d|%x|%lu", "ab", 7, 255, 9ul),
            LIBRARY("%5s|%-3d|%x|%lu", "ab", 7, 255, 9ul));
  EXPECT_EQ(format("[%s]", long_text.c_str()), "[" + long_text + "]");
  EXPECT_EQ(format("%c%s", 'q', long_text.c_str()).size(), long_text.size() + 1);
}

}  // namespace
}  // namespace platform
