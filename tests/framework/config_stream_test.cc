#include <gtest/gtest.h>

#include <string>

#include "framework/config_parser.h"
#include "framework/config_writer.h"

namespace VFW {
namespace {

std::string Entry(const AgentConfig& config, const std::string& instance,
                  const std::string& section, const std::string& key) {
  const InstanceConfig* found = config.getInstance(instance);
  if (found == nullptr) return "<no instance>";
  const ConfigSection* in = found->getSection(section);
  if (in == nullptr) return "<no section>";
  std::string value;
  return in->readEntry(key, &value) ? value : "<no entry>";
}

TEST(ConfigParserTest, ReadsInstancesSectionsAndEntriesAsWritten) {
  const std::string stream =
      "# written by hand\r\n"
      "  ; indented comment\n"
      "\n"
      "INSTANCE=inst1\n"
      "[DBSETTINGS]  \n"
      "  db_login  =  sa \n"
      "db_home=C:\\Program Files\\Microsoft SQL Server\\MSSQL10.INST1\\MSSQL\r\n"
      "db_extparms=a=b\n"
      "db_extparms=second\n"
      "INSTANCE=\n"
      "[DBSETTINGS]\n"
      "db_login=last line without newline\r";
  AgentConfig config;
  ASSERT_TRUE(ConfigParser::parseConfigFromStream(stream, &config));

  EXPECT_EQ(config.getInstanceNames(), (std::vector<std::string>{"inst1", ""}));
  // Keys lose their blanks; values keep theirs, backslashes and later "=" signs.
  EXPECT_EQ(Entry(config, "inst1", "DBSETTINGS", "db_login"), "  sa ");
  EXPECT_EQ(Entry(config, "inst1", "DBSETTINGS", "db_home"),
            "C:\\Program Files\\Microsoft SQL Server\\MSSQL10.INST1\\MSSQL");
  // A repeated key is kept; lookups answer its first value.
  EXPECT_EQ(Entry(config, "inst1", "DBSETTINGS", "db_extparms"), "a=b");
  EXPECT_EQ(config.getInstance("inst1")->getSection("DBSETTINGS")->getEntries().size(), 4u);
  EXPECT_EQ(Entry(config, "", "DBSETTINGS", "db_login"), "last line without newline");
  // Names are exact.
  EXPECT_EQ(config.getInstance("INST1"), nullptr);
  EXPECT_EQ(config.getInstance("inst1")->getSection("dbsettings"), nullptr);

  // One section name in two instances is no repeat; an empty stream is no instance.
  AgentConfig two, empty;
  EXPECT_TRUE(ConfigParser::parseConfigFromStream("INSTANCE=a\n[S]\nINSTANCE=b\n[S]\n", &two));
  EXPECT_TRUE(ConfigParser::parseConfigFromStream("", &empty));
  EXPECT_TRUE(empty.getInstanceNames().empty());
}

TEST(ConfigParserTest, RejectsMalformedStreamsAndLeavesTheConfigurationEmpty) {
  const struct {
    const char* why;
    std::string stream;
  } cases[] = {
      {"section before any instance", "[DBSETTINGS]\nk=v\n"},
      {"entry before any section", "INSTANCE=a\nk=v\n"},
      {"line without = that is no header", "INSTANCE=a\n[S]\njust text\n"},
      {"header with text after the bracket", "INSTANCE=a\n[S] x\n"},
      {"empty key", "INSTANCE=a\n[S]\n  =v\n"},
      {"instance named twice", "INSTANCE=a\nINSTANCE=a\n"},
      {"section named twice", "INSTANCE=a\n[S]\n[S]\n"},
      {"zero byte", std::string("INSTANCE=a\n[S]\nk=v\0w\n", 20)},
  };
  for (const auto& c : cases) {
    AgentConfig config;
    EXPECT_FALSE(ConfigParser::parseConfigFromStream(c.stream, &config)) << c.why;
    EXPECT_TRUE(config.getInstanceNames().empty()) << c.why;
  }
}

TEST(ConfigWriterTest, WritesTheStreamFormat) {
  AgentConfig config;
  ConfigSection* section = config.createInstance("inst1")->addSection("DBSETTINGS");
  section->writeEntry("db_login", "sa");
  section->writeEntry("db_extparms", "");
  section->writeEntry("db_extparms", "");
  std::string stream = "old";
  ASSERT_TRUE(ConfigWriter(false).writeStream(config, &stream));
  EXPECT_EQ(stream, "INSTANCE=inst1\n[DBSETTINGS]\ndb_login=sa\ndb_extparms=\ndb_extparms=\n");
}

TEST(ConfigWriterTest, WhatItAcceptsReadsBackUnchanged) {
  AgentConfig config;
  InstanceConfig* awkward = config.createInstance(" spaced # name=x ");
  ConfigSection* section = awkward->addSection(" [odd section ");
  section->writeEntry("k#ey", "  value with blanks, = signs and \\ backslashes  ");
  section->writeEntry("INSTANCE_NAME", "#not a comment");
  section->writeEntry("k", "");
  config.createInstance("")->addSection("DBSETTINGS")->writeEntry("a b", "%s%n");

  for (bool with_header : {false, true}) {
    std::string stream;
    ASSERT_TRUE(ConfigWriter(with_header).writeStream(config, &stream));
    AgentConfig read;
    ASSERT_TRUE(ConfigParser::parseConfigFromStream(stream, &read)) << stream;
    std::string again;
    ASSERT_TRUE(ConfigWriter(with_header).writeStream(read, &again));
    EXPECT_EQ(again, stream);
    EXPECT_EQ(read.getInstanceNames(), config.getInstanceNames());
    EXPECT_EQ(Entry(read, " spaced # name=x ", " [odd section ", "k#ey"),
              "  value with blanks, = signs and \\ backslashes  ");
  }
}

TEST(ConfigWriterTest, RefusesWhatWouldNotReadBackAndWritesNothing) {
  const struct {
    const char* why;
    std::string instance, section, key, value;
  } cases[] = {
      {"LF in a value", "a", "S", "k", "one\ntwo"},
      {"CR in a value", "a", "S", "k", "one\r"},
      {"zero byte in a value", "a", "S", "k", std::string("x\0y", 3)},
      {"LF in an instance name", "a\nb", "S", "k", "v"},
      {"empty section name", "a", "", "k", "v"},
      {"] in a section name", "a", "S]", "k", "v"},
      {"empty key", "a", "S", "", "v"},
      {"= in a key", "a", "S", "k=1", "v"},
      {"leading blank in a key", "a", "S", " k", "v"},
      {"trailing blank in a key", "a", "S", "k\t", "v"},
      {"comment-like key", "a", "S", "#k", "v"},
      {"semicolon key", "a", "S", ";k", "v"},
      {"header-like key", "a", "S", "[k", "v"},
      {"instance key", "a", "S", "INSTANCE", "v"},
  };
  for (const auto& c : cases) {
    AgentConfig config;
    config.createInstance(c.instance)->addSection(c.section)->writeEntry(c.key, c.value);
    std::string stream = "untouched";
    EXPECT_FALSE(ConfigWriter(false).writeStream(config, &stream)) << c.why;
    EXPECT_EQ(stream, "untouched") << c.why;
  }
}

TEST(ConfigParserTest, ReadsALargeStreamWhole) {
  std::string stream = "INSTANCE=big\n[DBSETTINGS]\n";
  const std::string value(1000, 'v');
  for (int i = 0; i < 20000; ++i) stream += "k" + std::to_string(i) + "=" + value + "\n";
  AgentConfig config;
  ASSERT_TRUE(ConfigParser::parseConfigFromStream(stream, &config));
  EXPECT_EQ(config.getInstance("big")->getSection("DBSETTINGS")->getEntries().size(), 20000u);
  EXPECT_EQ(Entry(config, "big", "DBSETTINGS", "k19999"), value);
}

}  // namespace
}  // namespace VFW
