// The registry seam, the same on both backends (the file-backed registry
// natively, the Win32 registry under Wine); then what only the file-backed one
// has: its file format, faults, reloading and writers sharing the file.
#include "platform/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "common/host_registry.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/reg_file.h"

namespace {

using namespace platform;
using namespace std::string_literals;
using Values = std::vector<std::tuple<std::string, uint32_t, std::string>>;
using Names = std::vector<std::string>;

const std::string kV5 = "Windows Registry Editor Version 5.00\r\n";
const std::string kTest = "Software\\SqXaTest", kInstances = kTest + "\\Instances";
const std::string kAlpha = kInstances + "\\Alpha", kGamma = kInstances + "\\Gamma";

std::unique_ptr<Registry> Connect() {
  std::unique_ptr<Registry> hive;
  EXPECT_EQ(Registry::Connect("", &hive), kRegSuccess);
  return hive;
}

long Status(const std::string& path, uint32_t access = kKeyRead) {
  std::unique_ptr<RegistryKey> key;
  return Connect()->OpenKey(path, access, &key);
}

std::unique_ptr<RegistryKey> Open(const std::string& path, uint32_t access = kKeyRead) {
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(Connect()->OpenKey(path, access, &key), kRegSuccess) << path;
  return key;
}

// The key's values, or its subkeys' names, in enumeration order.
Values ValuesOf(const std::string& path) {
  Values values;
  RegValue value;
  auto key = Open(path);
  while (key && key->EnumValue(values.size(), &value) == kRegSuccess)
    values.emplace_back(value.name, value.type, value.data);
  return values;
}

Names SubKeysOf(const std::string& path) {
  Names names;
  std::string name;
  auto key = Open(path, kKeyEnumerateSubKeys);
  while (key && key->EnumSubKey(names.size(), &name) == kRegSuccess) names.push_back(name);
  return names;
}

std::string Data(RegistryKey& key, const std::string& name) {
  RegValue value;
  const long status = key.QueryValue(name, &value);
  return status == kRegSuccess ? value.data : "status " + std::to_string(status);
}

// The fixture's keys lie under Software\SqXaTest, apart from those of a real machine.
class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ostringstream text;
    text << std::ifstream(SQXA_FIXTURE_DIR "/registry/basic.reg", std::ios::binary).rdbuf();
    ASSERT_TRUE(sqxa_test::LoadHost(text.str()));
  }
};

TEST_F(RegistryTest, ReadsValuesInTextFormIgnoringCaseAndHonoursAccess) {
  const Values alpha = {{"", kRegSz, "default text"},
                        {"Binary", kRegBinary, "\x01\x02\xff"},
                        {"Count", kRegDword, "42"},
                        {"Expand", kRegExpandSz, "%HOME%\\bin"},
                        {"Home", kRegSz, "C:\\Program Files\\Alpha"},
                        {"Multi", kRegMultiSz, "one\0two\0"s},
                        {"Quoted", kRegSz, "say \"hi\""},
                        {"Size", kRegQword, "4294967296"}};
  EXPECT_EQ(ValuesOf(kAlpha), alpha);
  EXPECT_EQ(SubKeysOf(kInstances), (Names{"Alpha", "Beta", "Gamma"}));

  auto key = Open("SOFTWARE\\sqxatest\\INSTANCES\\alpha", kKeyRead | kKeyWow64_64Key);
  ASSERT_TRUE(key);
  EXPECT_EQ(Data(*key, "hOmE"), "C:\\Program Files\\Alpha");
  EXPECT_EQ(Data(*key, "Missing"), "status 2");
  RegValue value;
  EXPECT_EQ(key->SetValue("Home", kRegSz, "E:\\"), kRegAccessDenied);
  EXPECT_EQ(key->DeleteValue("Home"), kRegAccessDenied);
  EXPECT_EQ(Open(kInstances, kKeyEnumerateSubKeys)->EnumValue(0, &value), kRegAccessDenied);
  EXPECT_EQ(Status(kInstances + "\\Delta"), kRegFileNotFound);
}

TEST_F(RegistryTest, WrittenValuesReadBackInTextFormAndKeysGoOnlyWhenEmpty) {
  auto hive = Connect();
  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(hive->CreateKey(kInstances + "\\Delta\\Deep", kKeyAllAccess, &key), kRegSuccess);
  ASSERT_EQ(hive->CreateKey(kInstances + "\\beta", kKeyAllAccess, &key), kRegSuccess);
  EXPECT_EQ(Data(*key, "Home"), "D:\\Beta");  // an existing key opens; its Home is replaced

  const Values written = {
      {"Home", kRegSz, "a \"quoted\" C:\\path"}, {"Expand", kRegExpandSz, "%SystemRoot%\\x"},
      {"DwordMax", kRegDword, "4294967295"},     {"QwordMax", kRegQword, "18446744073709551615"},
      {"Multi", kRegMultiSz, "x\0yz\0"s},        {"Raw", kRegBinary, "\0\x01\xfe"s}};
  for (const auto& [name, type, data] : written)
    ASSERT_EQ(key->SetValue(name, type, data), kRegSuccess) << name;
  // Numbers are decimal and in range; leading zeros go.
  const std::pair<uint32_t, const char*> bad_numbers[] = {
      {kRegDword, "0x10"}, {kRegDword, "4294967296"}, {kRegQword, "-1"}};
  for (const auto& [type, bad] : bad_numbers)
    EXPECT_EQ(key->SetValue("Count", type, bad), kRegInvalidParameter) << bad;
  ASSERT_EQ(key->SetValue("Count", kRegDword, "007"), kRegSuccess);
  Values expected = written;
  expected.emplace_back("Count", kRegDword, "7");
  // In any order: the Win32 registry does not keep the order of writing.
  EXPECT_THAT(ValuesOf(kInstances + "\\Beta"), testing::UnorderedElementsAreArray(expected));
  EXPECT_EQ(key->DeleteValue("HOME"), kRegSuccess);
  EXPECT_EQ(key->DeleteValue("Home"), kRegFileNotFound);
  EXPECT_EQ(Data(*Open(kInstances + "\\Beta"), "Home"), "status 2");

  // A value that does not fit its type changes nothing. A key with subkeys
  // cannot be deleted.
  EXPECT_EQ(hive->ReplaceValues(kAlpha, {{"Home", kRegSz, "x"}, {"Count", kRegDword, "-1"}}),
            kRegInvalidParameter);
  EXPECT_EQ(ValuesOf(kAlpha).size(), 8u);
  EXPECT_EQ(hive->DeleteKey(kGamma, kKeyWow64_64Key), kRegAccessDenied);
  EXPECT_EQ(hive->DeleteKey(kGamma + "\\SUB", kKeyWow64_64Key), kRegSuccess);
  EXPECT_EQ(hive->DeleteKey(kGamma, kKeyWow64_64Key), kRegSuccess);
  EXPECT_EQ(SubKeysOf(kInstances), (Names{"Alpha", "Beta", "Delta"}));
}

// Loads `text` as a registry file expecting a fault; the line of the fault. A
// failed load leaves an empty hive.
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

TEST(RegFileTest, FaultsAreReportedWithTheirLineAndHostileInputEndsCleanly) {
  const std::string key = kV5 + "[HKLM\\A]\n";
  const std::pair<std::string, uint64_t> cases[] = {
      {"", 1},
      {"Windows Registry Editor Version 4.00\n[HKLM\\A]\n", 1},
      {std::string("W\0i\0n\0", 6), 1},           // UTF-16 without its mark
      {Utf16(key) + "x", 2},                      // odd byte count
      {kV5 + "\"v\"=\"1\"\n", 2},                 // value before any key
      {key + "\"v\"=\"1\n", 3},                   // unterminated text
      {key + "\"v\"=hex:01,\\\n  02,0g\n", 4},    // bad digit, continued
      {key + "\"v\"=hex:01,\\\n[HKLM\\B]\n", 4},  // no continuation
      {key + "\"v\"=dword:123456789\n", 3},       // nine digits
      {key + "\"v\"=hex(2x):00\n", 3},            // bad type
      {kV5 + "\n[HKLM\\A\n", 3},                  // unclosed header
      {key + "stray text\n", 3},                  // not a line of the format
  };
  for (const auto& [text, line] : cases) EXPECT_EQ(FaultLine(text), line) << text;

  // Hostile input ends cleanly.
  const std::string valid = kV5 +
                            "[HKLM\\A]\n\"s\"=\"text\"\n\"h\"=hex(7):61,00,\\\n  00,00\n"
                            "[-HKLM\\A]\n[HKLM\\B\\C]\n@=dword:1\n";
  for (size_t size = 0; size <= valid.size(); ++size) {  // a file cut anywhere
    RegFile file;
    RegFileError error;
    EXPECT_TRUE(file.Load(valid.substr(0, size), &error) || (error.line >= 1 && error.line <= 9))
        << size << ": " << error.line;
  }
  RegFile file;
  RegFileError error;
  const std::string megabytes(4 << 20, 'a'), value = key + "\"v\"=";
  EXPECT_TRUE(file.Load(value + "\"" + megabytes + "\"\n", &error));
  EXPECT_EQ(FaultLine(value + "\"" + megabytes + "\n"), 3u);
  EXPECT_EQ(FaultLine(value + "\"\0\xff\xfe\x01\"\n"s + "\x80\x81\n"), 4u);
  // The registry's own limits bound what a writer may have to write back.
  std::string deep = kV5 + "[HKLM";
  for (int i = 0; i < 512; ++i) deep += "\\k";
  ASSERT_TRUE(file.Load(deep + "]\n", &error));
  EXPECT_GT(RegTree(file).Serialize().size(), 512u * 512u);
  (void)FaultLine(deep + "\\k]\n");
  (void)FaultLine(kV5 + "[HKLM\\" + std::string(256, 'n') + "]\n");
  // Deleting and re-creating one key over and over stays linear.
  std::string churn = kV5;
  for (int i = 0; i < 50000; ++i) churn += "[HKLM\\A]\n[-HKLM\\A]\n";
  RegFile::KeyId found;
  EXPECT_TRUE(file.Load(churn + "[HKLM\\A]\n", &error) && file.FindKey("A", &found));
}

// Where the Windows backend uses the machine's registry, these have no file.
class RegistryFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (PathSeparator() == '\\') GTEST_SKIP() << "the Win32 registry has no file";
  }
  // Points the registry at the file, holding `text`.
  void UseRegistry(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    UseRegistryFile(path_);
  }
  std::string FileText() {
    std::ostringstream text;
    text << std::ifstream(path_, std::ios::binary).rdbuf();
    return text.str();
  }
  sqxa_test::ScratchDir dir_;
  std::string path_ = dir_.File("registry.reg");
};

// Beyond the fixtures: comments, deletions, blanks, other types; UTF-16 files. Keys ignore case,
// imply their parents and merge: a later section replaces a value in place, keeping the name as
// first spelled. A deleted key loses its subtree as of that point.
TEST_F(RegistryFileTest, ReadsEveryValueSyntaxEncodingAndKeyStructure) {
  UseRegistry(kV5 +
              "\r\n; a comment\r\n[HKEY_LOCAL_MACHINE\\Software\\App]\r\n@=\"default\"\r\n"
              "\"Path\"=\"C:\\\\dir\\\\ \\\"x\\\" \\n\"\r\n\"Dword\"=dword:0000ffff\r\n"
              "\"Bin\"=hex:de,ad,\\\r\n  be,EF\r\n\"Big\"=hex(5):00,00,00,01\r\n"
              "\"Gone\"=\"soon\"\r\n  ; an indented comment\r\n\"Gone\"=-\r\n"
              "\"Spaced\" = \"ok\" ; trailing comment\r\n"
              "[HKLM\\S\\One\\Two\\Three]\n[HKEY_CURRENT_USER\\S\\Elsewhere]\n\"x\"=\"y\"\n"
              "[HKLM\\s\\one\\TWO]\n\"a\"=\"1\"\n\"b\"=\"2\"\n[hkey_local_machine\\S\\ONE\\two]\n"
              "\"A\"=\"3\"\n[HKLM\\S\\X]\n[HKLM\\S\\X\\B]\n[-HKLM\\S\\X]\n[-HKLM\\Never\\There]\n"
              "[HKLM\\S\\x]\n\"new\"=\"2\"\n");
  const Values expected = {{"", kRegSz, "default"},       {"Path", kRegSz, "C:\\dir\\ \"x\" \\n"},
                           {"Dword", kRegDword, "65535"}, {"Bin", kRegBinary, "\xde\xad\xbe\xef"},
                           {"Big", 5, "\0\0\0\x01"s},     {"Spaced", kRegSz, "ok"}};
  EXPECT_EQ(ValuesOf("software\\APP"), expected);
  EXPECT_EQ(SubKeysOf("S"), (Names{"One", "x"}));
  EXPECT_EQ(SubKeysOf("S\\ONE\\two"), Names{"Three"});
  EXPECT_EQ(ValuesOf("S\\One\\Two"), (Values{{"a", kRegSz, "3"}, {"b", kRegSz, "2"}}));
  EXPECT_EQ(ValuesOf("S\\X"), (Values{{"new", kRegSz, "2"}}));
  EXPECT_EQ(SubKeysOf("S\\X"), Names{});
  // The same with more values than are compared one by one.
  std::string many = kV5 + "[HKLM\\M]\n";
  Values wanted;
  for (int i = 0; i < 80; ++i) {
    many += "\"v" + std::to_string(i) + "\"=\"" + std::to_string(i) + "\"\n";
    if (i != 5) wanted.push_back({"v" + std::to_string(i), kRegSz, std::to_string(i)});
  }
  UseRegistry(many + "\"V3\"=\"again\"\n\"v5\"=-\n\"V5\"=\"back\"\n");
  std::get<2>(wanted[3]) = "again";
  wanted.push_back({"V5", kRegSz, "back"});
  EXPECT_EQ(ValuesOf("M"), wanted);
  UseRegistry(
      Utf16(kV5 + "[HKLM\\Caf\xe9]\r\n\"N\xe9\"=\"\xe9t\xe9\"\r\n\"E\"=hex(2):e9,00,00,00\r\n"));
  EXPECT_EQ(ValuesOf("Caf\xc3\xa9"),
            (Values{{"N\xc3\xa9", kRegSz, "\xc3\xa9t\xc3\xa9"}, {"E", kRegExpandSz, "\xc3\xa9"}}));
}

// A malformed file is empty, reported once and never rewritten. Changes to the
// file are seen; no file is an empty registry nobody can write; there are no
// remote machines.
TEST_F(RegistryFileTest, TheFileAsItIsNowIsTheRegistry) {
  const std::string bad = kV5 + "[HKEY_LOCAL_MACHINE\\" + kTest + "]\r\n\"v\"=hex:0g\r\n";
  UseRegistry(bad);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Status(kTest), kRegFileNotFound);
  EXPECT_EQ(Status(kTest), kRegFileNotFound);
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(Connect()->CreateKey(kTest + "\\New", kKeyAllAccess, &key), kRegBadDatabase);
  EXPECT_EQ(Connect()->DeleteKey(kTest, 0), kRegBadDatabase);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "registry file '" + path_ + "' line 3: bad hex digit\n");
  EXPECT_EQ(FileText(), bad);

  UseRegistry(kV5 + "[HKLM\\" + kTest + "]\r\n");
  EXPECT_EQ(Status(kTest, kKeyRead | kKeyWow64_32Key), kRegSuccess);
  std::ofstream(path_, std::ios::binary) << kV5 + "[HKLM\\" + kTest + "\\Later]\r\n";
  EXPECT_EQ(Status(kTest + "\\Later"), kRegSuccess);
  std::remove(path_.c_str());
  EXPECT_EQ(Status(kTest), kRegFileNotFound);
  UseRegistryFile("");
  EXPECT_EQ(Status(kTest), kRegFileNotFound);
  EXPECT_EQ(Connect()->CreateKey(kTest, kKeyAllAccess, &key), kRegCannotWrite);
  EXPECT_EQ(Connect()->DeleteKey(kTest, 0), kRegFileNotFound);
  std::unique_ptr<Registry> remote;
  EXPECT_EQ(Registry::Connect("OTHERHOST", &remote), kRegBadNetPath);

  // What is written reads back the same from the file, which has CR LF line
  // ends and wrapped hex lists; what it could not write back is refused.
  UseRegistry(kV5);
  std::unique_ptr<RegistryKey> empty;
  ASSERT_EQ(Connect()->CreateKey("Software\\Empty", kKeyAllAccess, &empty), kRegSuccess);
  ASSERT_EQ(Connect()->CreateKey("Software\\Odd \"[names]\\ ]\\Leaf", kKeyAllAccess, &key),
            kRegSuccess);
  const Values values = {{"", kRegSz, "default"},
                         {"quote\" back\\slash", kRegSz, "C:\\x \"y\"\\"},
                         {"lines", kRegSz, "one\ntwo\r\n"},
                         {"exp", kRegExpandSz, "%P%\\caf\xc3\xa9 \xf0\x9f\x98\x80"},
                         {"multi", kRegMultiSz, "a\0\0b\0"s},
                         {"dword", kRegDword, "4294967295"},
                         {"qword", kRegQword, "1"},
                         {"long", kRegBinary, std::string(300, '\x5a')},
                         {"none", kRegNone, ""},
                         {"custom", 0x1234, "\x01\x02"}};
  for (const auto& [name, type, data] : values)
    ASSERT_EQ(key->SetValue(name, type, data), kRegSuccess);
  EXPECT_NE(key->SetValue("new\nline", kRegSz, ""), kRegSuccess);

  const std::string written = FileText();
  EXPECT_EQ(written.rfind(kV5, 0), 0u);
  for (size_t start = 0, end; (end = written.find('\n', start)) != std::string::npos;
       start = end + 1)
    EXPECT_LE(end - start, 82u);
  UseRegistry(written);  // read afresh
  EXPECT_EQ(ValuesOf("software\\odd \"[names]\\ ]\\leaf"), values);
  EXPECT_EQ(SubKeysOf("Software"), (Names{"Empty", "Odd \"[names]"}));
}

// A writer renders the key it changes and copies the value lines of the others
// as they were, but renders a key whose lines would read otherwise in the file
// written: a REGEDIT4 file's text in hex(2), LF line ends, several sections.
TEST_F(RegistryFileTest, ChangingAKeyKeepsTheTextOfTheOthersWhereItReadsTheSame) {
  const std::string kOut = kV5 + "\r\n[HKEY_LOCAL_MACHINE\\", kB = "B]\r\n\"v\"=\"new\"\r\n\r\n";
  const std::pair<std::string, std::string> cases[] = {
      {kV5 + "\r\n[HKLM\\A]\r\n\"Bin\"=hex:01,02,\\\r\n  03\r\n; kept\r\n\"s\" = \"x\" ; note\r\n"
             "\"w\"=hex:04,\\\r\n  \r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"u\"=\"1\"\r\n[HKLM\\B]\r\n"
             "\"old\"=\"1\"\r\n[HKLM\\C]\r\n@=dword:2a\r\n; dropped\r\n\r\n",
       kOut +
           "A]\r\n\"Bin\"=hex:01,02,\\\r\n  03\r\n; kept\r\n\"s\" = \"x\" ; note\r\n"
           "\"w\"=hex:04,\\\r\n  \r\n\r\n[HKEY_LOCAL_MACHINE\\" +
           kB + "[HKEY_LOCAL_MACHINE\\C]\r\n@=dword:2a\r\n\r\n"},
      {"REGEDIT4\r\n[HKLM\\A]\r\n\"e\"=hex(2):41,00\r\n[HKLM\\B]\r\n",
       kOut + "A]\r\n\"e\"=hex(2):41,00,00,00\r\n\r\n[HKEY_LOCAL_MACHINE\\" + kB},
      {"Windows Registry Editor Version 5.00\n[HKLM\\A]\n\"s\" = \"x\"\n[HKLM\\B]\n",
       kOut + "A]\r\n\"s\"=\"x\"\r\n\r\n[HKEY_LOCAL_MACHINE\\" + kB},
      {kV5 + "[HKLM\\A]\r\n\"x\"=\"1\"\r\n[HKLM\\B]\r\n[hklm\\a]\r\n\"y\" = \"2\"\r\n[HKLM\\D]\r\n"
             "\"gone\"=\"1\"\r\n[-HKLM\\D]\r\n[HKLM\\D]\r\n\"z\" = \"3\"\r\n",
       kOut + "A]\r\n\"x\"=\"1\"\r\n\"y\"=\"2\"\r\n\r\n[HKEY_LOCAL_MACHINE\\" + kB +
           "[HKEY_LOCAL_MACHINE\\D]\r\n\"z\" = \"3\"\r\n\r\n"},
  };
  for (const auto& [before, after] : cases) {
    UseRegistry(before);
    ASSERT_EQ(Connect()->ReplaceValues("B", {{"v", kRegSz, "new"}}), kRegSuccess) << before;
    EXPECT_EQ(FileText(), after) << before;
  }
}

TEST_F(RegistryFileTest, ConcurrentWritersKeepEveryChangeAndReadersSeeWholeFiles) {
  const std::string shared = kTest + "\\Shared";
  UseRegistry(kV5 + "[HKLM\\" + shared + "]\r\n");
  constexpr int kWriters = 4, kWrites = 8;
  std::atomic<bool> writing{true};
  std::atomic<int> failed_reads{0};
  testing::internal::CaptureStderr();
  std::thread reader([&] {
    while (writing) failed_reads += Status(shared) != kRegSuccess;
  });
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      std::unique_ptr<RegistryKey> key;
      ASSERT_EQ(Connect()->CreateKey(shared, kKeyAllAccess, &key), kRegSuccess);
      for (int i = 0; i < kWrites; ++i)
        EXPECT_EQ(key->SetValue(std::to_string(w) + "-" + std::to_string(i), kRegDword, "1"),
                  kRegSuccess);
    });
  }
  for (std::thread& writer : writers) writer.join();
  writing = false;
  reader.join();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(failed_reads, 0);
  EXPECT_EQ(ValuesOf(shared).size(), size_t{kWriters * kWrites});
  EXPECT_EQ(FileText().rfind(kV5, 0), 0u);
  EXPECT_EQ(dir_.Entries().size(), 2u) << "the file and its lock, no temporary files";
}

}  // namespace
