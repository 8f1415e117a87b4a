// The base services as the program uses them: message lines by type on
// standard output and error, a write that fails, the lock between processes,
// the environment, memory, strings and the configuration log.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <thread>

#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/named_mutex.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/config_log.h"
#include "support/environment.h"
#include "support/memory.h"
#include "support/message.h"
#include "support/strings.h"

namespace {

// Whether `text` is `pattern`, in which "#" stands for the thread, "@" for the
// time of day and "~" for any text.
bool Like(const std::string& text, const std::string& pattern) {
  std::string re = std::regex_replace(pattern, std::regex(R"([\\^$.|?*+()\[\]{}])"), R"(\$&)");
  re = std::regex_replace(re, std::regex("#"), R"(\(\d+\))");
  re = std::regex_replace(re, std::regex("@"), R"(\([0-9]{6}\))");
  return std::regex_match(text, std::regex(std::regex_replace(re, std::regex("~"), ".*")));
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
  EXPECT_TRUE(Like(Out([] { msg_write_simple('i', "id", "x"); }), "IDI #x\n"));  // the lock is made
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
  std::ofstream(dir.path() / "read_only");
  const std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })> read_only(
      std::fopen(dir.File("read_only").c_str(), "r"));
  ASSERT_NE(read_only, nullptr);
  if (std::fprintf(read_only.get(), "%s", "probe") >= 0) GTEST_SKIP() << "fails when flushed";
  std::clearerr(read_only.get());
  msg_set_output_for_testing(read_only.get());
  const Captured got = Capture([] { msg_write(nullptr, "vdbutil", 7, "w", "abc1234", "lost"); });
  msg_set_output_for_testing(nullptr);
  EXPECT_TRUE(Like(got.out + "|" + got.err, "|+ ABC1234W VDBUTIL(7) #lost\n")) << got.err;
}

// The two modes the program reads with: 1 reports what is missing, -2 answers
// a copy; a variable that is set but empty counts as absent (where the
// platform keeps one).
TEST_F(MessageTest, EnvironmentReportedWhenMissingCopiedWhenSet) {
  // A name that nothing has set in this process, unset again when the test ends.
  const std::string name = "SQXA_UNSET_" + std::to_string(platform::CurrentProcessId());
  const sqxa_test::ScopedEnv unset(name, std::nullopt);
  char* value = nullptr;
  const std::string said = Out([&] { value = env_get(name.c_str(), 1, nullptr); });
  EXPECT_TRUE(Like(said, "UEN0015W VDBUTIL(~) #Environment variable \"" + name + "\" not set\n"));
  EXPECT_EQ(value, nullptr);
  {
    const sqxa_test::ScopedEnv set(name, "abc");
    const UniqueText copy(env_get(name.c_str(), -2, nullptr));
    EXPECT_STREQ(copy.get(), "abc");
    EXPECT_NE(copy.get(), std::getenv(name.c_str()));
  }
  const sqxa_test::ScopedEnv empty(name, "");
  const std::string empty_said = Out([&] { value = env_get(name.c_str(), 1, nullptr); });
  EXPECT_EQ(value, nullptr);
  EXPECT_NE(empty_said.find(std::getenv(name.c_str()) ? "UEN0010W" : "UEN0015W"),
            std::string::npos);
}

TEST_F(MessageTest, MemoryShortageIsReported) {
  const UtilAllocator real =
      util_set_allocator_for_testing([](std::size_t) -> void* { return nullptr; });
  void* block = nullptr;
  EXPECT_TRUE(Like(Capture([&] { block = util_malloc(12, "vdbutil", 1961, "size+1+1"); }).err,
                   "UTM5400S VDBUTIL(~) #Memory allocation error at:vdbutil.1961 - size+1+1 for 12 "
                   "bytes \n"));
  EXPECT_EQ(block, nullptr);
  util_set_allocator_for_testing(real);
}

TEST(StringsTest, CaseAndComparison) {
  char text[] = "abc-Xy1";
  EXPECT_STREQ(str_upper(text), "ABC-XY1");
  EXPECT_EQ(str_upper(nullptr), nullptr);
  EXPECT_EQ(str_icmp("MSSQLServer", "mssqlserver"), 0);
  EXPECT_EQ(str_icmp(nullptr, nullptr), 0);
  EXPECT_EQ(str_icmp(nullptr, "a"), 1);
  EXPECT_EQ(str_icmp("a", nullptr), 1);
  EXPECT_LT(str_icmp("abc", "ABD"), 0);
  EXPECT_GT(str_icmp("abcd", "ABC"), 0);
}

class ConfigLogTest : public ::testing::Test {
 protected:
  std::string Read(const std::string& name) {
    std::string text;
    EXPECT_EQ(platform::ReadFileContents(scratch_.File(name), &text), 0) << name;
    return sqxa_test::WithLf(text);
  }
  sqxa_test::ScratchDir scratch_;
};

TEST_F(ConfigLogTest, ChannelsRouteTextAndOnlyTheLogChannelsExpandPercentPairs) {
  using support::Channel;
  support::ConfigLog log(0);
  ASSERT_EQ(log.OpenLog(scratch_.File("dbcfg_inst1.log")), 1);
  std::FILE* ini = std::fopen(scratch_.File("x.ini").c_str(), "wb");
  ASSERT_NE(ini, nullptr);
  log.SetStream(Channel::kIni, ini);
  EXPECT_EQ(Capture([&] {
              log.Output(Channel::kLog, "name %s\n", "a%n%s 100%%");
              log.Output(Channel{7}, "seven %d%%\n", 7);
              log.Output(Channel::kIni, "COLL_HOME=%s\n", "C:\\100%%");
              log.Output(Channel::kBat, "dropped: no stream\n");
              log.Output(Channel::kInclude, "dropped too\n");
            }).out,
            "");
  log.SetConsole(1);
  EXPECT_EQ(Capture([&] { log.Output(Channel::kLog, "%s\n", "shown 50%%"); }).out, "shown 50%\n");
  EXPECT_EQ(Capture([&] { log.Output(Channel{9}, "not shown\n"); }).out, "");
  log.Write(Channel::kLog, std::string_view("cut 1%%\0 at the NUL\n", 21));
  std::fclose(ini);
  log.SetStream(Channel::kIni, nullptr);
  // What a child started now would see: the log kept up to this line.
  platform::FlushAll();
  EXPECT_EQ(Read("dbcfg_inst1.log"), "name a%n%s 100%\nseven 7%\nshown 50%\nnot shown\ncut 1%");
  log.CloseLog();
  EXPECT_EQ(Read("x.ini"), "COLL_HOME=C:\\100%%\n");
  EXPECT_EQ(support::ExpandPercentPairs("100%% %s %n %%%"), "100% %s %n %%");
  EXPECT_EQ(support::ExpandPercentPairs("%"), "%");
}

// The log is appended to and stamped in the calendar form; without a log file
// channel one still reaches the console.
TEST_F(ConfigLogTest, LogAppendsAndStampsInTheCalendarForm) {
  std::ofstream(scratch_.path() / "dbcfg_.log", std::ios::binary) << "earlier run\n";
  support::ConfigLog log(0);
  ASSERT_EQ(log.OpenLog(scratch_.File("dbcfg_.log")), 1);
  log.LogTimestamped("Start\n");
  log.Output(support::Channel::kLog, "%s", std::string(5000, 'x').c_str());  // past any buffer
  log.CloseLog();
  const std::string text = Read("dbcfg_.log");
  EXPECT_TRUE(
      std::regex_search(text, std::regex("^earlier run\n\n[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} "
                                         "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}\nStart\nx{5000}$")))
      << text.substr(0, 80);

  support::ConfigLog console(1);
  EXPECT_EQ(console.OpenLog(scratch_.File("missing/dbcfg_x.log")), 0);
  console.LogTimestamped("nothing happens\n");
  EXPECT_EQ(Capture([&] { console.Output(support::Channel::kLog, "to the console\n"); }).out,
            "to the console\n");
}

}  // namespace
