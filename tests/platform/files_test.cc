// Behaviour of the file layer, the same on every backend.
#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
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

TEST(Files, BackslashPathsReachTheFileSystem) {
  ScratchDir dir;
  // Paths are composed with backslashes everywhere above the file layer.
  const std::string base = dir.path().string();
  ASSERT_EQ(MakeDirectory(base + "\\sub"), 0);
  ASSERT_EQ(ReplaceFileContents(base + "\\sub\\a.ini", "x=1\n"), 0);

  EXPECT_TRUE(std::filesystem::is_regular_file(dir.path() / "sub" / "a.ini"));
  EXPECT_TRUE(DirectoryExists(base + "\\sub"));
  EXPECT_TRUE(FileExists(base + "\\sub\\a.ini"));
  EXPECT_EQ(Read(base + "\\sub\\a.ini"), "x=1\n");
  EXPECT_TRUE(OpenFile(base + "\\sub\\a.ini", "r") != nullptr);
  EXPECT_EQ(RenameFile(base + "\\sub\\a.ini", base + "\\sub\\b.ini"), 0);
  EXPECT_EQ(RemoveFile(base + "\\sub\\b.ini"), 0);
  EXPECT_FALSE(FileExists(base + "\\sub\\b.ini"));

  if (PathSeparator() == '/') {
    EXPECT_EQ(NativePath("a\\b\\c.ini"), "a/b/c.ini");
  } else {
    EXPECT_EQ(NativePath("a\\b/c.ini"), "a\\b/c.ini");
  }
}

TEST(Files, ExistingAndMissingFilesAndDirectoriesAreTold) {
  ScratchDir dir;
  const std::string sub = dir.File("sub");
  EXPECT_EQ(MakeDirectory(sub), 0);
  EXPECT_EQ(MakeDirectory(sub), EEXIST);
  EXPECT_EQ(MakeDirectory(dir.File("missing") + "/child"), ENOENT);
  EXPECT_TRUE(DirectoryExists(sub));
  EXPECT_FALSE(FileExists(sub));

  const std::string missing = dir.File("missing.txt");
  std::string contents = "untouched";
  EXPECT_EQ(ReadFileContents(missing, &contents), ENOENT);
  EXPECT_EQ(contents, "untouched");
  EXPECT_EQ(RemoveFile(missing), ENOENT);
  errno = 0;
  EXPECT_TRUE(OpenFile(missing, "rb") == nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(FileExists(missing));
  EXPECT_FALSE(DirectoryExists(missing));
}

TEST(Files, ContentsAreBinaryAndReplacedWholeAsByRenaming) {
  ScratchDir dir;
  const std::string path = dir.File("data.bin");
  const std::string binary("a\r\nb\nc\0d\x1a\xff", 10);
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
                           "u.ini.sqxa-12-0.tmp", "t.ini.sqxa-notes.txt", "t.ini.tmp"}) {
    ASSERT_EQ(ReplaceFileContents(dir.File(name), "x"), 0);
  }
  RemoveStaleTemporariesOf(dir.File("t.ini"));
  EXPECT_THAT(dir.Entries(), UnorderedElementsAre("t.ini", "u.ini.sqxa-12-0.tmp",
                                                  "t.ini.sqxa-notes.txt", "t.ini.tmp"));
  std::vector<std::string> names;
  ASSERT_EQ(ListDirectory(dir.path().string(), &names), 0);
  EXPECT_EQ(names.size(), 4u);
}

TEST(AtomicFile, WritesBesideTheTargetUntilCommittedAndLeavesNothingElse) {
  ScratchDir dir;
  const std::string target = dir.File("t.ini");
  ASSERT_EQ(ReplaceFileContents(target, "old"), 0);
  AtomicFile first;
  AtomicFile second;
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

// Installs failing calls for one test and restores the real ones afterwards.
class FailingCalls {
 public:
  FailingCalls(bool fail_sync, bool fail_rename) {
    FileSystemCalls calls = real_ = SetFileSystemCallsForTesting(nullptr);
    if (fail_sync) calls.sync = [](std::FILE*) { return EIO; };
    fail_rename_ = fail_rename;
    calls.rename = [](const std::string& from, const std::string& to) {
      ++renames_attempted;
      return fail_rename_ ? ENOSPC : real_.rename(from, to);
    };
    SetFileSystemCallsForTesting(&calls);
    renames_attempted = 0;
  }
  ~FailingCalls() { SetFileSystemCallsForTesting(nullptr); }
  static inline int renames_attempted = 0;

 private:
  static inline FileSystemCalls real_{};
  static inline bool fail_rename_ = false;
};

TEST(AtomicFile, FailedCommitKeepsTheOldFileAndRemovesTheTemporary) {
  struct Case {
    bool fail_sync;
    bool fail_rename;
    int status;
    int renames;
  };
  for (const Case& c : {Case{false, true, ENOSPC, 1}, Case{true, false, EIO, 0}}) {
    SCOPED_TRACE(c.fail_sync ? "failed sync" : "failed rename");
    ScratchDir dir;
    const std::string target = dir.File("t.ini");
    ASSERT_EQ(ReplaceFileContents(target, "old contents\n"), 0);
    {
      FailingCalls failing(c.fail_sync, c.fail_rename);
      AtomicFile file;
      ASSERT_EQ(file.Open(target), 0);
      std::fputs("new contents\n", file.stream());
      EXPECT_EQ(file.Commit(), c.status);
      EXPECT_EQ(FailingCalls::renames_attempted, c.renames);
      EXPECT_EQ(ReplaceFileContents(target, "other"), c.status);
    }
    EXPECT_EQ(Read(target), "old contents\n");
    EXPECT_THAT(dir.Entries(), ElementsAre("t.ini"));
  }
}

}  // namespace
}  // namespace platform
