// The framework's configuration stream (reading and writing) and its trace.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "framework/config_parser.h"
#include "framework/config_writer.h"
#include "framework/trace.h"
#include "platform/files.h"

namespace VFW {
namespace {

std::string Entry(const AgentConfig& config, const std::string& instance,
                  const std::string& section, const std::string& key) {
  const InstanceConfig* found = config.getInstance(instance);
  const ConfigSection* in = found != nullptr ? found->getSection(section) : nullptr;
  std::string value;
  return in != nullptr && in->readEntry(key, &value) ? value : "<no entry>";
}

// Keys lose their blanks; values keep theirs, backslashes and later "=" signs.
// A repeated key is kept and lookups answer its first value. Names are exact.
TEST(ConfigParserTest, ReadsInstancesSectionsAndEntriesAsWritten) {
  std::string stream =
      "# by hand\r\n  ; indented comment\n\nINSTANCE=inst1\n[DBSETTINGS]  \n  db_login  =  sa \n"
      "db_home=C:\\Program Files\\MSSQL\r\ndb_extparms=a=b\ndb_extparms=second\n"
      "INSTANCE=\n[DBSETTINGS]\n";
  for (int i = 0; i < 20000; ++i)
    stream += "k" + std::to_string(i) + "=" + std::string(999, 'v') + "\n";
  stream += "db_login=last line without newline\r";
  AgentConfig config;
  ASSERT_TRUE(ConfigParser::parseConfigFromStream(stream, &config));
  EXPECT_EQ(config.getInstanceNames(), (std::vector<std::string>{"inst1", ""}));
  EXPECT_EQ(Entry(config, "inst1", "DBSETTINGS", "db_login"), "  sa ");
  EXPECT_EQ(Entry(config, "inst1", "DBSETTINGS", "db_home"), "C:\\Program Files\\MSSQL");
  EXPECT_EQ(Entry(config, "inst1", "DBSETTINGS", "db_extparms"), "a=b");
  EXPECT_EQ(config.getInstance("inst1")->getSection("DBSETTINGS")->getEntries().size(), 4u);
  EXPECT_EQ(Entry(config, "", "DBSETTINGS", "k19999"), std::string(999, 'v'));
  EXPECT_EQ(Entry(config, "", "DBSETTINGS", "db_login"), "last line without newline");
  EXPECT_EQ(Entry(config, "INST1", "DBSETTINGS", "db_login"), "<no entry>");
  EXPECT_EQ(Entry(config, "inst1", "dbsettings", "db_login"), "<no entry>");
  // One section name in two instances is no repeat; an empty stream is no instance.
  EXPECT_TRUE(ConfigParser::parseConfigFromStream("INSTANCE=a\n[S]\nINSTANCE=b\n[S]\n", &config));
  EXPECT_TRUE(ConfigParser::parseConfigFromStream("", &config) &&
              config.getInstanceNames().empty());
}

TEST(ConfigParserTest, RejectsMalformedStreamsAndLeavesTheConfigurationEmpty) {
  const std::string cases[] = {
      "[DBSETTINGS]\nk=v\n",                         // section before any instance
      "INSTANCE=a\nk=v\n",                           // entry before any section
      "INSTANCE=a\n[S]\njust text\n",                // line without = that is no header
      "INSTANCE=a\n[S] x\n",                         // text after the bracket
      "INSTANCE=a\n[S]\n  =v\n",                     // empty key
      "INSTANCE=a\nINSTANCE=a\n",                    // instance named twice
      "INSTANCE=a\n[S]\n[S]\n",                      // section named twice
      std::string("INSTANCE=a\n[S]\nk=v\0w\n", 20),  // zero byte
  };
  for (const std::string& stream : cases) {
    AgentConfig config;
    EXPECT_FALSE(ConfigParser::parseConfigFromStream(stream, &config)) << stream;
    EXPECT_TRUE(config.getInstanceNames().empty()) << stream;
  }
}

// What the writer accepts reads back unchanged, with or without its header;
// what would not read back it refuses, writing nothing.
TEST(ConfigWriterTest, WritesWhatReadsBackAndRefusesTheRest) {
  AgentConfig config;
  ConfigSection* section = config.createInstance(" spaced # name=x ")->addSection(" [odd section ");
  section->writeEntry("k#ey", "  value with blanks, = signs and \\ backslashes  ");
  section->writeEntry("INSTANCE_NAME", "#not a comment");
  section->writeEntry("k", "");
  section->writeEntry("k", "");  // a repeated key stays
  config.createInstance("")->addSection("DBSETTINGS")->writeEntry("a b", "%s%n");
  for (bool with_header : {false, true}) {
    std::string stream, again;
    AgentConfig read;
    ASSERT_TRUE(ConfigWriter(with_header).writeStream(config, &stream));
    EXPECT_EQ(stream.substr(stream.find("INSTANCE=\n")), "INSTANCE=\n[DBSETTINGS]\na b=%s%n\n");
    ASSERT_TRUE(ConfigParser::parseConfigFromStream(stream, &read)) << stream;
    ASSERT_TRUE(ConfigWriter(with_header).writeStream(read, &again));
    EXPECT_EQ(again, stream);
    EXPECT_EQ(Entry(read, " spaced # name=x ", " [odd section ", "k#ey"),
              "  value with blanks, = signs and \\ backslashes  ");
  }

  // Instance, section, key, value.
  std::vector<std::array<std::string, 4>> refused = {{"a", "S", "k", "one\ntwo"},
                                                     {"a", "S", "k", "one\r"},
                                                     {"a", "S", "k", std::string("x\0y", 3)},
                                                     {"a\nb", "S", "k", "v"},
                                                     {"a", "", "k", "v"},
                                                     {"a", "S]", "k", "v"}};
  for (const char* key : {"", "k=1", " k", "k\t", "#k", ";k", "[k", "INSTANCE"})
    refused.push_back({"a", "S", key, "v"});
  for (const auto& [instance, name, key, value] : refused) {
    AgentConfig bad;
    bad.createInstance(instance)->addSection(name)->writeEntry(key, value);
    std::string stream = "untouched";
    EXPECT_FALSE(ConfigWriter(false).writeStream(bad, &stream)) << instance << name << key << value;
    EXPECT_EQ(stream, "untouched");
  }
}

class TraceTest : public ::testing::Test {
 protected:
  void TearDown() override { RAS1_Shutdown(); }
  void Start(const char* levels) {
    level_.emplace("SQ_XA_TRACE", levels);
    RAS1_Initialize();
  }
  std::string Contents() {
    RAS1_Shutdown();
    std::string text = "<no file>";
    (void)platform::ReadFileContents(path_, &text);
    return sqxa_test::WithLf(text);
  }
  sqxa_test::ScratchDir dir_;
  std::string path_ = dir_.File("sqxa.trc");
  sqxa_test::ScopedEnv file_{"SQ_XA_TRACE_FILE", path_};
  std::optional<sqxa_test::ScopedEnv> level_;
};

TEST_F(TraceTest, LevelsSelectTheRecords) {
  const unsigned flow = RAS1_ERROR | RAS1_FLOW, detail = flow | RAS1_DETAIL;
  const std::pair<const char*, unsigned> cases[] = {
      {"none", 0},     {"error", RAS1_ERROR}, {"flow", flow},       {"detail", detail},
      {"all", detail}, {"", RAS1_ERROR},      {"bogus", RAS1_ERROR}};
  for (const auto& [setting, levels] : cases) {
    Start(setting);
    EXPECT_EQ(RAS1_Sync(), levels) << setting;
  }

  // Records name their function and end in one newline; levels not in force
  // write nothing, and "none" no file at all.
  Start("detail");
  {
    Ras1Scope scope("doConfigGet");
    RAS1_Printf(RAS1_DETAIL, "doConfigGet", "Getting config for instance: %s", "inst1");
    RAS1_Printf(RAS1_ERROR, "doConfigGet", "Could not find server: %s\n", "x");
  }
  const std::string text = Contents();
  size_t at = 0;
  for (const char* record :
       {" doConfigGet: Entry\n", " doConfigGet: Getting config for instance: inst1\n",
        " doConfigGet: Could not find server: x\n", " doConfigGet: Exit\n"})
    EXPECT_NE(at = text.find(record, at), std::string::npos) << record << text;
  EXPECT_EQ(text.find("\n\n"), std::string::npos);
  Start("error");
  RAS1_Event("f", RAS1_EV_ENTRY);
  EXPECT_EQ(Contents().find(" f: "), std::string::npos);
  Start("none");
  (void)platform::RemoveFile(path_);
  RAS1_Printf(RAS1_ERROR, "f", "x");
  EXPECT_EQ(Contents(), "<no file>");
}

}  // namespace
}  // namespace VFW
