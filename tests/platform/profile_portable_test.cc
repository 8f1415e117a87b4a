// The portable profile writer beyond what the Windows functions promise: it
// changes only the section it writes, keeps the file's line ends and anything
// binary outside the section, and replaces the file atomically.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/profile.h"

namespace platform {
namespace {

using namespace std::string_literals;

TEST(PortableProfileWriter, ChangesOnlyTheSectionInTheFilesOwnLineEnds) {
  const std::string head = "; generated\n\n[A]\n  a = 1  \n;x\n\n", tail = "[B]\r\nodd line\t\n\n";
  const std::string binary = "[A]\n\0\xff\x01=\x02\r\x1a\n"s;
  const struct {
    std::string before, section, entries, after;
  } cases[] = {
      {head + "[S]\nold=1\n; old\nolder\n\n\n" + tail, "S", "n=1\0m=2\0"s,
       head + "[S]\nn=1\nm=2\n\n\n" + tail},
      {"x=1\n\n[A]\na=1\n", "", "y=2\0"s, "y=2\n\n[A]\na=1\n"},  // before the first header
      {"\xef\xbb\xbf[S]\na=1\n", "S", "b=2\0"s, "\xef\xbb\xbf[S]\nb=2\n"},  // the UTF-8 mark stays
      {binary + "[S]\na=1\n", "S", "b=2\0"s, binary + "[S]\nb=2\n"},
      {"[A]\r\na=1\r\n[S]\r\nold=1", "S", "n=1\0"s, "[A]\r\na=1\r\n[S]\r\nn=1\r\n"},
      {"[A]\r\na=1", "S", "n=1\0"s, "[A]\r\na=1\r\n[S]\r\nn=1\r\n"},
      {"[A]\na=1\n[S]", "S", "n=1\0"s, "[A]\na=1\n[S]\nn=1\n"},
      {"", "S", "n=1\0"s, "[S]\nn=1\n"},
  };
  for (const auto& c : cases) {
    sqxa_test::ScratchDir dir;
    const std::string path = dir.File("p.ini");
    std::string after;
    ASSERT_EQ(ReplaceFileContents(path, c.before), 0);
    EXPECT_TRUE(WriteIniSection(c.section, c.entries.c_str(), path));
    EXPECT_EQ(ReadFileContents(path, &after), 0);
    EXPECT_EQ(after, c.after);
    EXPECT_EQ(dir.Entries().size(), 1u) << "a temporary file was left";
  }
}

TEST(PortableProfileWriter, FailedReplacementLeavesTheFile) {
  sqxa_test::ScratchDir dir;
  const std::string path = dir.File("p.ini");
  ASSERT_EQ(ReplaceFileContents(path, "[S]\na=1\n"), 0);
  FileSystemCalls failing = SetFileSystemCallsForTesting(nullptr);
  failing.rename = [](const std::string&, const std::string&) { return ENOSPC; };
  SetFileSystemCallsForTesting(&failing);
  EXPECT_FALSE(WriteIniSection("S", "b=2\0", path));
  SetFileSystemCallsForTesting(nullptr);
  std::string after;
  EXPECT_EQ(ReadFileContents(path, &after), 0);
  EXPECT_EQ(after, "[S]\na=1\n");
  EXPECT_EQ(dir.Entries().size(), 1u);
}

}  // namespace
}  // namespace platform
