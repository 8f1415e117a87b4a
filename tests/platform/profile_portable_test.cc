// The portable profile writer beyond what the Windows functions promise: it
// changes only the section it writes, keeps the file's line ends, and replaces
// the file atomically.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/profile.h"

namespace platform {
namespace {

using sqxa_test::ScratchDir;

template <size_t N>
std::string Z(const char (&text)[N]) {
  return std::string(text, N - 1);
}

std::string Write(const std::string& before, const std::string& section,
                  const std::string& entries) {
  ScratchDir dir;
  const std::string path = dir.File("p.ini");
  EXPECT_EQ(ReplaceFileContents(path, before), 0);
  EXPECT_TRUE(WriteIniSection(section, entries.c_str(), path));
  std::string after;
  EXPECT_EQ(ReadFileContents(path, &after), 0);
  EXPECT_EQ(dir.Entries().size(), 1u) << "a temporary file was left";
  return after;
}

TEST(PortableProfileWriter, KeepsEveryLineOutsideTheSection) {
  const std::string head = "; generated\n\n[A]\n  a = 1  \n;x\n\n";
  const std::string tail = "[B]\r\nodd line\t\n\n";
  EXPECT_EQ(Write(head + "[S]\nold=1\n; old comment\nolder\n\n\n" + tail, "S", Z("n=1\0m=2\0\0")),
            head + "[S]\nn=1\nm=2\n\n\n" + tail);
  // The lines before the first header are the section without a name.
  EXPECT_EQ(Write("x=1\n\n[A]\na=1\n", "", Z("y=2\0\0")), "y=2\n\n[A]\na=1\n");
  // A mark of UTF-8 at the start stays.
  EXPECT_EQ(Write("\xef\xbb\xbf[S]\na=1\n", "S", Z("b=2\0\0")), "\xef\xbb\xbf[S]\nb=2\n");
}

TEST(PortableProfileWriter, UsesTheLineEndOfTheFile) {
  EXPECT_EQ(Write("[A]\r\na=1\r\n[S]\r\nold=1", "S", Z("n=1\0\0")), "[A]\r\na=1\r\n[S]\r\nn=1\r\n");
  EXPECT_EQ(Write("[A]\r\na=1", "S", Z("n=1\0\0")), "[A]\r\na=1\r\n[S]\r\nn=1\r\n");
  EXPECT_EQ(Write("[A]\na=1\n[S]", "S", Z("n=1\0\0")), "[A]\na=1\n[S]\nn=1\n");
  EXPECT_EQ(Write("", "S", Z("n=1\0\0")), "[S]\nn=1\n");
}

TEST(PortableProfileWriter, BinaryContentsStayOutsideTheSection) {
  const std::string binary = Z("[A]\n\0\xff\x01=\x02\r\x1a\n");
  EXPECT_EQ(Write(binary + "[S]\na=1\n", "S", Z("b=2\0\0")), binary + "[S]\nb=2\n");
}

TEST(PortableProfileWriter, FailedReplacementLeavesTheFile) {
  ScratchDir dir;
  const std::string path = dir.File("p.ini");
  ASSERT_EQ(ReplaceFileContents(path, "[S]\na=1\n"), 0);
  FileSystemCalls failing = SetFileSystemCallsForTesting(nullptr);
  failing.rename = [](const std::string&, const std::string&) { return ENOSPC; };
  SetFileSystemCallsForTesting(&failing);
  EXPECT_FALSE(WriteIniSection("S", Z("b=2\0\0").c_str(), path));
  SetFileSystemCallsForTesting(nullptr);
  std::string after;
  EXPECT_EQ(ReadFileContents(path, &after), 0);
  EXPECT_EQ(after, "[S]\na=1\n");
  EXPECT_EQ(dir.Entries().size(), 1u);
}

}  // namespace
}  // namespace platform
