// Values escaped for the lines of a start-up .bat file.
#include "generate/bat_text.h"

#include <gtest/gtest.h>

namespace generate {
namespace {

struct Case {
  const char* value;
  bool quoted;
  const char* text;
};

TEST(BatText, EscapesWhatCmdWouldReadOutsideQuotesAndDoublesPercentEverywhere) {
  const Case cases[] = {
      {"", false, ""},
      {"plain value 1", false, "plain value 1"},
      {"a&b|c>d<e^f(g)h", false, "a^&b^|c^>d^<e^^f^(g^)h"},
      {"C:\\Program Files (x86)\\a", false, "C:\\Program Files ^(x86^)\\a"},
      {"%PATH%", false, "%%PATH%%"},
      {"100%", false, "100%%"},
      {" lead and trail ", false, " lead and trail "},
      // Between quotes only percent signs change; each quote toggles.
      {"\"a&b%c\"", false, "\"a&b%%c\""},
      {"x\"&|\"&", false, "x\"&|\"^&"},
      {"\"open&(", false, "\"open&("},
      {"a\"\"&", false, "a\"\"^&"},
      {"\"", false, "\""},
      // The value begins inside quotes (the START line's registry key).
      {"a&b%c", true, "a&b%%c"},
      {"a\"&", true, "a\"^&"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(BatText(c.value, c.quoted), c.text) << c.value << " quoted=" << c.quoted;
  }
}

}  // namespace
}  // namespace generate
