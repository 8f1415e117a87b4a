// The registry file format: reading every value syntax, the key structure,
// faults with their line numbers, writing back, and hostile input.
#include "platform/reg_file.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace platform;
using namespace std::string_literals;
using Entries = std::vector<std::tuple<std::string, uint32_t, std::string>>;
using Names = std::vector<std::string>;

const std::string kV5 = "Windows Registry Editor Version 5.00\n";

Entries ValuesOf(const RegFile& file, const std::string& path) {
  RegFile::KeyId key = RegFile::kRoot;
  if (!file.FindKey(path, &key)) return {{"<no key>", 0, ""}};
  Entries entries;
  for (const RegValue& v : file.Values(key)) entries.emplace_back(v.name, v.type, v.data);
  return entries;
}

Names SubKeysOf(const RegFile& file, const std::string& path) {
  RegFile::KeyId key = RegFile::kRoot;
  if (!file.FindKey(path, &key)) return {"<no key>"};
  Names names;
  for (RegFile::KeyId child : file.SubKeys(key)) names.emplace_back(file.KeyName(child));
  return names;
}

RegFile MustLoad(const std::string& text) {
  RegFile file;
  RegFileError error;
  EXPECT_TRUE(file.Load(text, &error)) << "line " << error.line << ": " << error.message;
  return file;
}

// Loads `text` expecting a fault; the line of the fault. A failed load leaves
// an empty hive.
uint64_t FaultLine(const std::string& text) {
  RegFile file;
  RegFileError error;
  RegFile::KeyId key;
  EXPECT_FALSE(file.Load(text, &error) || error.message.empty() || file.FindKey("A", &key));
  return error.line;
}

// Latin-1 text as a UTF-16LE file with its byte order mark.
std::string Utf16(const std::string& latin1) {
  std::string out = "\xff\xfe";
  for (char c : latin1) out += {c, '\0'};
  return out;
}

// The syntax the fixtures of the registry suite do not show; and UTF-16 files,
// and the ANSI data of REGEDIT4 files.
TEST(RegFileTest, ReadsEveryValueSyntaxAndEncoding) {
  const RegFile file =
      MustLoad(kV5 +
               "\r\n; a comment\r\n[HKEY_LOCAL_MACHINE\\Software\\App]\r\n@=\"default\"\r\n"
               "\"Path\"=\"C:\\\\dir\\\\ \\\"x\\\" \\n\"\r\n\"Dword\"=dword:0000ffff\r\n"
               "\"Bin\"=hex:de,ad,\\\r\n  be,EF\r\n\"Big\"=hex(5):00,00,00,01\r\n"
               "\"Gone\"=\"soon\"\r\n  ; an indented comment\r\n\"Gone\"=-\r\n"
               "\"Spaced\" = \"ok\" ; trailing comment\r\n");
  const Entries expected = {{"", kRegSz, "default"},       {"Path", kRegSz, "C:\\dir\\ \"x\" \\n"},
                            {"Dword", kRegDword, "65535"}, {"Bin", kRegBinary, "\xde\xad\xbe\xef"},
                            {"Big", 5, "\0\0\0\x01"s},     {"Spaced", kRegSz, "ok"}};
  EXPECT_EQ(ValuesOf(file, "software\\APP"), expected);

  const RegFile wide = MustLoad(
      Utf16(kV5 + "[HKLM\\Caf\xe9]\r\n\"N\xe9\"=\"\xe9t\xe9\"\r\n\"E\"=hex(2):e9,00,00,00\r\n"));
  EXPECT_EQ(ValuesOf(wide, "Caf\xc3\xa9"),
            (Entries{{"N\xc3\xa9", kRegSz, "\xc3\xa9t\xc3\xa9"}, {"E", kRegExpandSz, "\xc3\xa9"}}));
  const RegFile ansi = MustLoad(
      "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\K]\n\"E\"=hex(2):41,42,00\n\"M\"=hex(7):61,00,62,00,00\n");
  EXPECT_EQ(ValuesOf(ansi, "K"),
            (Entries{{"E", kRegExpandSz, "AB"}, {"M", kRegMultiSz, "a\0b\0"s}}));
}

// Keys ignore case, imply their parents and merge: a later section replaces a
// value in place, keeping the name as first spelled. A deleted key loses its
// subtree as of that point.
TEST(RegFileTest, KeysIgnoreCaseImplyParentsMergeAndDelete) {
  const RegFile file = MustLoad(
      kV5 +
      "[HKEY_LOCAL_MACHINE\\One\\Two\\Three]\n[HKEY_CURRENT_USER\\Elsewhere]\n\"x\"=\"y\"\n"
      "[HKLM\\one\\TWO]\n\"a\"=\"1\"\n\"b\"=\"2\"\n[HKEY_LOCAL_MACHINE\\One\\Four]\n"
      "[hkey_local_machine\\ONE\\two]\n\"A\"=\"3\"\n\"c\"=\"4\"\n"
      "[HKLM\\X]\n\"old\"=\"1\"\n[HKLM\\X\\B]\n[-HKLM\\X]\n[-HKLM\\Never\\There]\n"
      "[HKLM\\x]\n\"new\"=\"2\"\n");
  EXPECT_EQ(SubKeysOf(file, ""), (Names{"One", "x"}));
  EXPECT_EQ(SubKeysOf(file, "one"), (Names{"Two", "Four"}));
  EXPECT_EQ(SubKeysOf(file, "ONE\\two"), Names{"Three"});
  EXPECT_EQ(ValuesOf(file, "One\\Two"),
            (Entries{{"a", kRegSz, "3"}, {"b", kRegSz, "2"}, {"c", kRegSz, "4"}}));
  EXPECT_EQ(ValuesOf(file, "X"), (Entries{{"new", kRegSz, "2"}}));
  EXPECT_EQ(SubKeysOf(file, "X"), Names{});
  EXPECT_EQ(SubKeysOf(file, "One\\Five"), Names{"<no key>"});
}

TEST(RegFileTest, FaultsAreReportedWithTheirLine) {
  const std::pair<std::string, uint64_t> cases[] = {
      {"", 1},
      {"Windows Registry Editor Version 4.00\n[HKLM\\A]\n", 1},
      {std::string("W\0i\0n\0", 6), 1},                      // UTF-16 without its mark
      {Utf16(kV5 + "[HKLM\\A]\n") + "x", 2},                 // odd byte count
      {kV5 + "\"v\"=\"1\"\n", 2},                            // value before any key
      {kV5 + "[HKLM\\A]\n\"v=1\n", 3},                       // unterminated name
      {kV5 + "[HKLM\\A]\n\"v\"=\"1\n", 3},                   // unterminated text
      {kV5 + "[HKLM\\A]\n\"v\"=hex:01,\\\n  02,0g\n", 4},    // bad digit, continued
      {kV5 + "[HKLM\\A]\n\"v\"=hex:01,\\\n[HKLM\\B]\n", 4},  // no continuation
      {kV5 + "[HKLM\\A]\n\"v\"=hex:01,\\\n", 3},             // truncated mid-value
      {kV5 + "[HKLM\\A]\n\"v\"=dword:123456789\n", 3},       // nine digits
      {kV5 + "[HKLM\\A]\n\"v\"=hex(2x):00\n", 3},            // bad type
      {kV5 + "\n[HKLM\\A\n", 3},                             // unclosed header
      {kV5 + "[HKLM\\A]\nstray text\n", 3},                  // not a line of the format
      {kV5 + "[HKLM\\A]\n\"v\" \"1\"\n", 3},                 // no '='
  };
  for (const auto& [text, line] : cases) EXPECT_EQ(FaultLine(text), line) << text;
}

// What is written reads back the same and writes again to the same bytes, with
// CR LF line ends and hex lists wrapped; values it could not write back are refused.
TEST(RegFileTest, WrittenFileReadsBackTheSameKeysAndValues) {
  RegTree tree;
  RegTree::KeyId key = 0, empty = 0;
  bool created = false;
  ASSERT_TRUE(tree.CreateKey("Software\\Odd \"[names]\\ ]\\Leaf", &key, &created) && created);
  ASSERT_TRUE(tree.CreateKey("Software\\Empty", &empty, &created));
  const Entries values = {{"", kRegSz, "default"},
                          {"quote\" back\\slash", kRegSz, "C:\\x \"y\"\\"},
                          {"lines", kRegSz, "one\ntwo\r\n"},
                          {"exp", kRegExpandSz, "%P%\\caf\xc3\xa9 \xf0\x9f\x98\x80"},
                          {"multi", kRegMultiSz, "a\0\0b\0"s},
                          {"dword", kRegDword, "4294967295"},
                          {"qword", kRegQword, "1"},
                          {"long", kRegBinary, std::string(300, '\x5a')},
                          {"none", kRegNone, ""},
                          {"custom", 0x1234, "\x01\x02"}};
  for (const auto& [name, type, data] : values) ASSERT_TRUE(tree.SetValue(key, {name, type, data}));
  EXPECT_FALSE(tree.SetValue(key, {"bad", kRegDword, "x"}) ||
               tree.SetValue(key, {"new\nline", kRegSz, ""}));

  const std::string written = tree.Serialize();
  EXPECT_EQ(written.rfind("Windows Registry Editor Version 5.00\r\n", 0), 0u);
  for (size_t start = 0, end; (end = written.find('\n', start)) != std::string::npos;
       start = end + 1)
    EXPECT_LE(end - start, 82u);
  const RegFile file = MustLoad(written);
  EXPECT_EQ(ValuesOf(file, "software\\odd \"[names]\\ ]\\leaf"), values);
  EXPECT_EQ(SubKeysOf(file, "Software"), (Names{"Odd \"[names]", "Empty"}));
  EXPECT_EQ(RegTree(file).Serialize(), written);
}

TEST(RegFileTest, HostileInputEndsCleanly) {
  const std::string valid = kV5 +
                            "[HKLM\\A]\n\"s\"=\"text\"\n\"h\"=hex(7):61,00,\\\n  00,00\n"
                            "[-HKLM\\A]\n[HKLM\\B\\C]\n@=dword:1\n";
  for (size_t size = 0; size <= valid.size(); ++size) {  // a file cut anywhere
    RegFile file;
    RegFileError error;
    EXPECT_TRUE(file.Load(valid.substr(0, size), &error) || (error.line >= 1 && error.line <= 9))
        << size << ": " << error.line;
  }
  const std::string megabytes(4 << 20, 'a'), key = kV5 + "[HKLM\\A]\n\"v\"=";
  (void)MustLoad(key + "\"" + megabytes + "\"\n");
  EXPECT_EQ(FaultLine(key + "\"" + megabytes + "\n"), 3u);
  EXPECT_EQ(FaultLine(key + "hex:" + megabytes + "\n"), 3u);
  EXPECT_EQ(FaultLine(key + "\"\0\xff\xfe\x01\"\n"s + "\x80\x81\n"), 4u);

  // The registry's own limits bound what a writer may have to write back.
  std::string deep = kV5 + "[HKLM";
  for (int i = 0; i < 512; ++i) deep += "\\k";
  EXPECT_GT(RegTree(MustLoad(deep + "]\n")).Serialize().size(), 512u * 512u);
  (void)FaultLine(deep + "\\k]\n");
  (void)FaultLine(kV5 + "[HKLM\\" + std::string(256, 'n') + "]\n");

  // Deleting and re-creating one key over and over stays linear.
  std::string churn = kV5;
  for (int i = 0; i < 50000; ++i) churn += "[HKLM\\A]\n[-HKLM\\A]\n";
  EXPECT_EQ(SubKeysOf(MustLoad(churn + "[HKLM\\A]\n"), ""), Names{"A"});
}

}  // namespace
