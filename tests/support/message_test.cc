// The message facility as the program uses it: lines by type on standard
// output and error, a write that fails, and the lock between processes.
#include "support/message.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <thread>

#include "common/scratch_dir.h"
#include "platform/named_mutex.h"
#include "support/capture.h"

namespace {

// Whether `text` is `pattern`, in which "#" stands for the thread, "@" for the
// time of day and "~" for any text.
bool Like(const std::string& text, const std::string& pattern) {
  std::string re;
  for (char c : pattern) {
    re += c == '#'                            ? "\\(\\d+\\)"
          : c == '@'                          ? "\\([0-9]{6}\\)"
          : c == '~'                          ? ".*"
          : std::strchr("\\^$.|?*+()[]{}", c) ? std::string("\\") + c
                                              : std::string(1, c);
  }
  return std::regex_match(text, std::regex(re));
}
std::string Out(const std::function<void()>& code) { return Capture(code).out; }

class MessageTest : public ::testing::Test {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }
};

// Severe and error lines go to standard error only while no file is open.
// Modifiers: L silences the echo, P drops the position, H the header, u keeps
// the letter case, - drops the message; later modifiers win. Traces carry the
// time of day; "H2" writes only while trace switch 2 is on.
TEST_F(MessageTest, LinesByType) {
  // Each case: type|standard output|standard error.
  for (const std::string c :
       {"s||MS A(5) #t\n", "e||ME A(5) #t\n", "i|MI A(5) #t\n|", "w|MW A(5) #t\n|",
        "a||MI A(5) #t\n", "q||MQ A(5) #t\n", "-|#t\n|", "eL|ME A(5) #t\n|", "iP|MI #t\n|",
        "iH|#t\n|", "iu|mI a(5) #t\n|", "i-||", "il||MI A(5) #t\n", "iPp|MI A(5) #t\n|",
        "eLl||ME A(5) #t\n", "t|MT @ A(5) #t\n|", "TP|MT @ #t\n|", "H2||", "H||"}) {
    const size_t bar = c.find('|'), bar2 = c.find('|', bar + 1);
    const std::string type = c.substr(0, bar);
    const Captured got =
        Capture([&] { msg_write("rtn", "C:\\src\\a.cpp", 5, type.c_str(), "m", "%s", "t"); });
    EXPECT_TRUE(Like(got.out, c.substr(bar + 1, bar2 - bar - 1))) << c << got.out;
    EXPECT_TRUE(Like(got.err, c.substr(bar2 + 1))) << c << got.err;
  }
  EXPECT_TRUE(Like(Out([] { msg_write(nullptr, nullptr, 0, nullptr, "x", "y"); }), "XT @ #y\n"));
  msg_set_trace_switch(2, true);
  EXPECT_TRUE(Like(Out([] { msg_write(nullptr, "vdbutil", 5, "H2", "ab", "z"); }),
                   "ABT @ VDBUTIL(5) #z\n"));
}

TEST_F(MessageTest, TextsIdsPrefixAndPrebuiltMessages) {
  // Each case: type, id|text|standard output. One newline, whether or not
  // the text has it; no id, no header; data stays data; the line prefix of
  // standard output holds until cleared.
  for (const std::string c :
       {"i|line\n|#line\n", "i x|line|#line\n", "iid||IDI # *** vsprintf error ****\n",
        "iid|a%n%s|IDI #a%n%s\n", "@PFX> |ignored|", "iid|x|PFX> IDI #x\n", "@|clears|",
        "iid|x|IDI #x\n"}) {
    const size_t bar = c.find('|'), bar2 = c.find('|', bar + 1);
    const std::string id = c.substr(1, bar - 1), text = c.substr(bar + 1, bar2 - bar - 1);
    EXPECT_TRUE(Like(Out([&] { msg_write_simple(c[0], id.c_str(), "%s", text.c_str()); }),
                     c.substr(bar2 + 1)))
        << c;
  }
  // A pre-built message carries its id and letter in its first nine characters.
  EXPECT_TRUE(Like(Capture([] { msg_write_simple('x', "cat1995", "CAT1995E - Can't open"); }).err,
                   "CAT1995CAT1995E #- Can't open\n"));
}

// A message that finds the lock abandoned by a thread that ended holding it
// is dropped, and the lock is given back for the next one.
TEST_F(MessageTest, AnAbandonedLockDropsOneMessage) {
  const char* server = std::getenv("COLL_SERVERID");
  const char* number = std::getenv("COLL_SERVICENUMBER");
  const std::string name = std::string("LogMutex_") + (server != nullptr ? server : "(null)") +
                           "_" + (number != nullptr ? number : "(null)");
  std::thread([&name] {
    const std::unique_ptr<platform::NamedMutex> lock = platform::NamedMutex::Create(name);
    ASSERT_EQ(lock->Wait(0), platform::NamedMutex::kAcquired);
  }).join();
  EXPECT_EQ(Out([] { msg_write_simple('i', "id", "dropped"); }), "");
  EXPECT_TRUE(Like(Out([] { msg_write_simple('i', "id", "x"); }), "IDI #x\n"));
}

// A write that fails at once goes to standard error, marked. Where the C
// library fails a write to a stream opened for reading only when flushing,
// the case cannot be made.
TEST_F(MessageTest, AWriteThatFailsGoesToStandardErrorMarked) {
  const sqxa_test::ScratchDir dir;
  std::fclose(std::fopen(dir.File("read_only").c_str(), "w"));
  std::FILE* read_only = std::fopen(dir.File("read_only").c_str(), "r");
  ASSERT_NE(read_only, nullptr);
  if (std::fputs("probe", read_only) >= 0) GTEST_SKIP() << "writes fail only when flushed here";
  std::clearerr(read_only);
  msg_set_output_for_testing(read_only);
  const Captured got = Capture([] { msg_write(nullptr, "vdbutil", 7, "w", "abc1234", "lost"); });
  msg_set_output_for_testing(nullptr);
  std::fclose(read_only);
  EXPECT_EQ(got.out, "");
  EXPECT_TRUE(Like(got.err, "+ ABC1234W VDBUTIL(7) #lost\n")) << got.err;
}

}  // namespace
