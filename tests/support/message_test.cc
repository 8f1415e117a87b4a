#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <thread>

#include "platform/named_mutex.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

class MessageTest : public ::testing::Test {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }
  static std::string Thread() { return "(" + std::to_string(platform::CurrentThreadId()) + ")"; }
};

TEST_F(MessageTest, HeadersByTypeLetter) {
  const std::string t = Thread();
  const struct {
    const char* type;
    std::string out, err;
  } cases[] = {
      // Severe and error lines go to standard error only while no file is open.
      {"s", "", "UTM5400S VDBUTIL(2094) " + t + "text\n"},
      {"e", "", "UTM5400E VDBUTIL(2094) " + t + "text\n"},
      {"i", "UTM5400I VDBUTIL(2094) " + t + "text\n", ""},
      {"w", "UTM5400W VDBUTIL(2094) " + t + "text\n", ""},
      {"a", "", "UTM5400I VDBUTIL(2094) " + t + "text\n"},
      {"q", "", "UTM5400Q VDBUTIL(2094) " + t + "text\n"},
      {"-", t + "text\n", ""},
      // Modifiers: L silences the echo, P drops the position, H the header,
      // u keeps the letter case, - drops the message.
      {"eL", "UTM5400E VDBUTIL(2094) " + t + "text\n", ""},
      {"iP", "UTM5400I " + t + "text\n", ""},
      {"iH", t + "text\n", ""},
      {"iu", "utm5400I vdbutil(2094) " + t + "text\n", ""},
      {"i-", "", ""},
      {"il", "", "UTM5400I VDBUTIL(2094) " + t + "text\n"},
      // Later modifiers win.
      {"iPp", "UTM5400I VDBUTIL(2094) " + t + "text\n", ""},
      {"eLl", "", "UTM5400E VDBUTIL(2094) " + t + "text\n"},
  };
  for (const auto& c : cases) {
    const Captured got = Capture([&] {
      msg_write("routine", "C:\\src\\vdbutil.cpp", 2094, c.type, "utm5400", "%s", "text");
    });
    EXPECT_EQ(got.out, c.out) << c.type;
    EXPECT_EQ(got.err, c.err) << c.type;
  }
}

TEST_F(MessageTest, TimestampsConditionalTracesAndRoutineNames) {
  const std::string t = Thread();
  const std::regex stamped("UEN0046T \\([0-9]{6}\\) VDBUTIL\\(1979\\) \\(\\d+\\)Set\n");
  EXPECT_TRUE(std::regex_match(
      Capture([] { msg_write(nullptr, "vdbutil", 1979, "t", "uen0046", "Set"); }).out, stamped));
  EXPECT_TRUE(
      std::regex_match(Capture([] { msg_write(nullptr, "vdbutil", 1, "TP", "x", "y"); }).out,
                       std::regex("XT \\([0-9]{6}\\) \\(\\d+\\)y\n")));
  EXPECT_TRUE(
      std::regex_match(Capture([] { msg_write(nullptr, nullptr, 0, nullptr, "x", "y"); }).out,
                       std::regex("XT \\([0-9]{6}\\) \\(\\d+\\)y\n")));

  // "H2" writes only while trace switch 2 is on, and then as a trace line.
  EXPECT_EQ(Capture([] { msg_write(nullptr, "vdbutil", 5, "H2", "ab", "z"); }).out, "");
  msg_set_trace_switch(2, true);
  EXPECT_TRUE(
      std::regex_match(Capture([] { msg_write(nullptr, "vdbutil", 5, "H2", "ab", "z"); }).out,
                       std::regex("ABT \\([0-9]{6}\\) VDBUTIL\\(5\\) \\(\\d+\\)z\n")));
  EXPECT_EQ(Capture([] { msg_write(nullptr, "vdbutil", 5, "H", "ab", "z"); }).out, "");

  // Routine names show from verbosity 2, or with switch 6.
  EXPECT_EQ(Capture([] { msg_write("rtn", "vdbutil", 5, "iP", "ab", "z"); }).out,
            "ABI " + t + "z\n");
  msg_set_verbosity(2);
  EXPECT_EQ(Capture([] { msg_write("rtn", "vdbutil", 5, "iP", "ab", "z"); }).out,
            "ABI rtn " + t + "z\n");
  msg_set_verbosity(0);
  msg_set_trace_switch(6, true);
  EXPECT_EQ(Capture([] { msg_write("rtn", "vdbutil", 5, "iP", ".ab", "z"); }).out,
            "ABI rtn " + t + "z\n");
}

TEST_F(MessageTest, TextsIdsPrefixAndPrebuiltMessages) {
  const std::string t = Thread();
  // One newline, whether or not the text has it; no id, no header.
  EXPECT_EQ(Capture([] { msg_write_simple('i', "", "line\n"); }).out, t + "line\n");
  EXPECT_EQ(Capture([] { msg_write_simple('i', " x", "line"); }).out, t + "line\n");
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "%s", ""); }).out,
            "IDI " + t + " *** vsprintf error ****\n");
  // Data stays data: a "%" in an argument is not a format.
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "%s", "a%n%s"); }).out,
            "IDI " + t + "a%n%s\n");

  // The line prefix of standard output.
  EXPECT_EQ(Capture([] { msg_write_simple('@', "PFX> ", "ignored"); }).out, "");
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "x"); }).out, "PFX> IDI " + t + "x\n");
  EXPECT_EQ(Capture([] { msg_write_simple('e', "id", "x"); }).err, "IDE " + t + "x\n");
  (void)Capture([] { msg_write_simple('@', "", "clears"); });
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "x"); }).out, "IDI " + t + "x\n");

  // A pre-built message carries its id and letter in its first nine characters.
  EXPECT_EQ(Capture([] { msg_write_simple('x', "cat1995", "CAT1995E - Can't open"); }).err,
            "CAT1995CAT1995E " + t + "- Can't open\n");
}

// A message that finds the lock abandoned by a thread that ended holding it
// is dropped, and the lock is given back for the next one.
TEST_F(MessageTest, AnAbandonedLockDropsOneMessage) {
  const std::string t = Thread();
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "x"); }).out, "IDI " + t + "x\n");
  const char* server = std::getenv("COLL_SERVERID");
  const char* number = std::getenv("COLL_SERVICENUMBER");
  const std::string name = std::string("LogMutex_") + (server != nullptr ? server : "(null)") +
                           "_" + (number != nullptr ? number : "(null)");
  std::thread([&name] {
    const std::unique_ptr<platform::NamedMutex> lock = platform::NamedMutex::Create(name);
    ASSERT_EQ(lock->Wait(0), platform::NamedMutex::kAcquired);
  }).join();
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "dropped"); }).out, "");
  EXPECT_EQ(Capture([] { msg_write_simple('i', "id", "x"); }).out, "IDI " + t + "x\n");
}

}  // namespace
