// Behaviour of the file layer, the same on every backend.
#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "common/scratch_dir.h"

namespace platform {
namespace {

using sqxa_test::ScratchDir;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

std::string Read(const std::string& path) {
  std::string contents;
  EXPECT_EQ(ReadFileContents(path, &contents), 0) << path;
  return contents;
}

// Paths are composed with backslashes everywhere above the file layer.
TEST(Files, BackslashPathsReachTheFileSystem) {
  ScratchDir dir;
  const std::string sub = dir.path().string() + "\\sub";
  ASSERT_EQ(MakeDirectory(sub), 0);
  ASSERT_EQ(ReplaceFileContents(sub + "\\a.ini", "x=1\n"), 0);
  EXPECT_TRUE(std::filesystem::is_regular_file(dir.path() / "sub" / "a.ini"));
  EXPECT_TRUE(DirectoryExists(sub) && FileExists(sub + "\\a.ini"));
  EXPECT_EQ(Read(sub + "\\a.ini"), "x=1\n");
  EXPECT_TRUE(OpenFile(sub + "\\a.ini", "r") != nullptr);
  EXPECT_EQ(RenameFile(sub + "\\a.ini", sub + "\\b.ini"), 0);
  EXPECT_EQ(RemoveFile(sub + "\\b.ini"), 0);
  EXPECT_FALSE(FileExists(sub + "\\b.ini"));
  EXPECT_EQ(NativePath("a\\b/c.ini"), PathSeparator() == '/' ? "a/b/c.ini" : "a\\b/c.ini");
}

TEST(Files, MissingFilesAndDirectoriesAreTold) {
  ScratchDir dir;
  const std::string sub = dir.File("sub"), missing = dir.File("missing.txt");
  EXPECT_EQ(MakeDirectory(sub), 0);
  EXPECT_EQ(MakeDirectory(sub), EEXIST);
  EXPECT_EQ(MakeDirectory(dir.File("missing") + "/child"), ENOENT);
  EXPECT_TRUE(DirectoryExists(sub) && !FileExists(sub));
  std::string contents = "untouched";
  EXPECT_EQ(ReadFileContents(missing, &contents), ENOENT);
  EXPECT_EQ(contents, "untouched");
  EXPECT_EQ(RemoveFile(missing), ENOENT);
  errno = 0;
  EXPECT_TRUE(OpenFile(missing, "rb") == nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(FileExists(missing) || DirectoryExists(missing));
}

TEST(Files, ContentsAreBinaryAndReplacedWhole) {
  ScratchDir dir;
  const std::string path = dir.File("data.bin"), binary("a\r\nb\nc\0d\x1a\xff", 10);
  ASSERT_EQ(ReplaceFileContents(path, binary), 0);
  EXPECT_EQ(Read(path), binary);
  ASSERT_EQ(ReplaceFileContents(path, "short"), 0);
  EXPECT_EQ(Read(path), "short");
  ASSERT_EQ(ReplaceFileContents(dir.File("other"), ""), 0);
  EXPECT_EQ(RenameFile(dir.File("other"), path), 0);  // replaces the target
  EXPECT_EQ(Read(path), "");
  EXPECT_THAT(dir.Entries(), ElementsAre("data.bin"));
}

// What a writer that died left beside its target goes; nothing else does.
TEST(Files, StaleTemporariesOfOneTargetAreRemoved) {
  ScratchDir dir;
  for (const char* name : {"t.ini", "t.ini.sqxa-12-0.tmp", "t.ini.sqxa-12-staged.tmp",
                           "u.ini.sqxa-12-0.tmp", "t.ini.sqxa-notes.txt", "t.ini.tmp"})
    ASSERT_EQ(ReplaceFileContents(dir.File(name), "x"), 0);
  RemoveStaleTemporariesOf(dir.File("t.ini"));
  std::vector<std::string> names;
  ASSERT_EQ(ListDirectory(dir.path().string(), &names), 0);
  EXPECT_THAT(names, UnorderedElementsAre("t.ini", "u.ini.sqxa-12-0.tmp", "t.ini.sqxa-notes.txt",
                                          "t.ini.tmp"));
}

TEST(AtomicFile, WritesBesideTheTargetUntilCommittedAndLeavesNothingElse) {
  ScratchDir dir;
  const std::string target = dir.File("t.ini");
  ASSERT_EQ(ReplaceFileContents(target, "old"), 0);
  AtomicFile first, second;
  ASSERT_EQ(first.Open(target), 0);
  ASSERT_EQ(second.Open(target), 0);
  EXPECT_NE(first.temporary_path(), second.temporary_path());
  EXPECT_EQ(std::filesystem::path(first.temporary_path()).parent_path(), dir.path());
  std::fputs("first", first.stream());
  std::fputs("second", second.stream());
  EXPECT_EQ(Read(target), "old");
  ASSERT_EQ(first.Commit(), 0);
  EXPECT_EQ(Read(target), "first");
  second.Discard();
  {
    AtomicFile destroyed;
    ASSERT_EQ(destroyed.Open(target), 0);
    std::fputs("half written", destroyed.stream());
  }
  EXPECT_EQ(Read(target), "first");
  EXPECT_THAT(dir.Entries(), ElementsAre("t.ini"));
  AtomicFile in_missing_dir;
  EXPECT_EQ(in_missing_dir.Open(dir.File("missing") + "/t.ini"), ENOENT);
}

// A failed sync renames nothing; a failed rename is tried once. Either way the
// old file stays whole and the temporary goes.
TEST(AtomicFile, FailedCommitKeepsTheOldFileAndRemovesTheTemporary) {
  static FileSystemCalls real = SetFileSystemCallsForTesting(nullptr);
  static int renames = 0;
  static bool fail_rename = false;
  for (const bool fail_sync : {false, true}) {
    SCOPED_TRACE(fail_sync ? "failed sync" : "failed rename");
    ScratchDir dir;
    const std::string target = dir.File("t.ini");
    ASSERT_EQ(ReplaceFileContents(target, "old contents\n"), 0);
    FileSystemCalls calls = real;
    if (fail_sync) calls.sync = [](std::FILE*) { return EIO; };
    calls.rename = [](const std::string& from, const std::string& to) {
      ++renames;
      return fail_rename ? ENOSPC : real.rename(from, to);
    };
    fail_rename = !fail_sync;
    renames = 0;
    SetFileSystemCallsForTesting(&calls);
    AtomicFile file;
    EXPECT_EQ(file.Open(target), 0);
    if (file.stream() != nullptr) std::fputs("new contents\n", file.stream());
    const int status = fail_sync ? EIO : ENOSPC;
    EXPECT_EQ(file.Commit(), status);
    EXPECT_EQ(renames, fail_sync ? 0 : 1);
    EXPECT_EQ(ReplaceFileContents(target, "other"), status);
    SetFileSystemCallsForTesting(nullptr);
    EXPECT_EQ(Read(target), "old contents\n");
    EXPECT_THAT(dir.Entries(), ElementsAre("t.ini"));
  }
}

}  // namespace
}  // namespace platform
