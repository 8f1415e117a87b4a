// The file layer, the file lock and the profile functions, alike on every backend.
#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "common/line_ends.h"
#include "common/scratch_dir.h"
#include "platform/file_lock.h"
#include "platform/profile.h"

namespace platform {
namespace {

using namespace std::string_literals;
using sqxa_test::ScratchDir;
using ::testing::ElementsAre;

std::string Read(const std::string& path) {
  std::string contents;
  EXPECT_EQ(ReadFileContents(path, &contents), 0) << path;
  return contents;
}

// Paths are composed with backslashes everywhere above the file layer; contents
// are binary; missing files and directories are told.
TEST(Files, BackslashPathsBinaryContentsAndMissingFiles) {
  ScratchDir dir;
  const std::string sub = dir.path().string() + "\\sub", binary("a\r\nb\nc\0d\x1a\xff", 10);
  ASSERT_EQ(MakeDirectory(sub), 0);
  EXPECT_EQ(MakeDirectory(sub), EEXIST);
  ASSERT_EQ(ReplaceFileContents(sub + "\\a.ini", binary), 0);
  EXPECT_EQ(Read((dir.path() / "sub" / "a.ini").string()), binary);
  EXPECT_TRUE(DirectoryExists(sub) && !FileExists(sub) && OpenFile(sub + "\\a.ini", "r"));
  ASSERT_EQ(ReplaceFileContents(sub + "\\b.ini", "short"), 0);
  EXPECT_EQ(RenameFile(sub + "\\b.ini", sub + "\\a.ini"), 0);  // replaces the target
  EXPECT_EQ(Read(sub + "\\a.ini"), "short");
  EXPECT_EQ(RemoveFile(sub + "\\a.ini"), 0);
  EXPECT_EQ(NativePath("a\\b/c.ini"), PathSeparator() == '/' ? "a/b/c.ini" : "a\\b/c.ini");

  const std::string missing = sub + "\\a.ini";
  std::string contents = "untouched";
  EXPECT_EQ(ReadFileContents(missing, &contents), ENOENT);
  EXPECT_EQ(contents, "untouched");
  EXPECT_EQ(RemoveFile(missing), ENOENT);
  EXPECT_EQ(MakeDirectory(missing + "\\child"), ENOENT);
  EXPECT_FALSE(FileExists(missing) || DirectoryExists(missing) || OpenFile(missing, "rb"));
}

// What a writer that died left beside its target goes; nothing else does.
TEST(Files, StaleTemporariesOfOneTargetAreRemoved) {
  ScratchDir dir;
  for (const char* name : {"t.ini", "t.ini.sqxa-12-0.tmp", "t.ini.sqxa-12-staged.tmp",
                           "u.ini.sqxa-12-0.tmp", "t.ini.sqxa-notes.txt", "t.ini.tmp"})
    ASSERT_EQ(ReplaceFileContents(dir.File(name), "x"), 0);
  RemoveStaleTemporariesOf(dir.File("t.ini"));
  EXPECT_THAT(dir.Entries(), ::testing::UnorderedElementsAre("t.ini", "u.ini.sqxa-12-0.tmp",
                                                             "t.ini.sqxa-notes.txt", "t.ini.tmp"));
}

TEST(AtomicFile, WritesBesideTheTargetUntilCommittedAndLeavesNothingElse) {
  ScratchDir dir;
  const std::string target = dir.File("t.ini");
  ASSERT_EQ(ReplaceFileContents(target, "old"), 0);
  AtomicFile first, second, in_missing_dir;
  ASSERT_EQ(first.Open(target) + second.Open(target), 0);
  EXPECT_NE(first.temporary_path(), second.temporary_path());
  EXPECT_EQ(std::filesystem::path(first.temporary_path()).parent_path(), dir.path());
  std::fputs("first", first.stream());
  std::fputs("second", second.stream());
  EXPECT_EQ(Read(target), "old");
  ASSERT_EQ(first.Commit(), 0);
  EXPECT_EQ(Read(target), "first");
  second.Discard();
  EXPECT_THAT(dir.Entries(), ElementsAre("t.ini"));
  EXPECT_EQ(in_missing_dir.Open(dir.File("missing") + "/t.ini"), ENOENT);
}

// A second FileLock object stands in for a second process: it times out while
// the first holds the file, and gets it once released. A file that cannot be
// opened is no timeout; the lock file stays, empty.
TEST(FileLock, SecondHolderTimesOutUntilTheFirstReleases) {
  ScratchDir dir;
  const std::string path = dir.File("sq_xa.lock");
  std::unique_ptr<FileLock> first, second;
  ASSERT_EQ(FileLock::Acquire(path, 0, &first), 0);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(FileLock::Acquire(path, 150, &second), ETIMEDOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
  EXPECT_EQ(FileLock::Acquire(dir.File("missing") + "/sq_xa.lock", 0, &second), ENOENT);
  first.reset();
  EXPECT_EQ(FileLock::Acquire(path, 0, &second), 0);
  second.reset();
  EXPECT_EQ(std::filesystem::file_size(path), 0u);
}

// The profile section functions: the same cases run against the Windows
// functions (under Wine) and against the portable implementation, so every
// expectation is one both give (but the last, of the portable writer).
using sqxa_test::WithLf;  // the Windows writer always writes CR LF

// Each call gets a file of its own, so that no cached reading of an earlier
// file of the same name can answer.
class ProfileTest : public ::testing::Test {
 protected:
  std::string NewFile(std::string_view contents) {
    const std::string path = dir_.File("p" + std::to_string(files_++) + ".ini");
    EXPECT_EQ(ReplaceFileContents(path, contents), 0);
    return path;
  }

  // The answer and the buffer up to the byte after its final zero ("#" when
  // untouched, which shows where writing stopped).
  std::pair<uint32_t, std::string> Section(std::string_view file, const std::string& section,
                                           uint32_t size = 4096) {
    const std::string path = NewFile(file);
    std::string buffer(size + 8, '#');
    const uint32_t answer = ReadIniSection(section, buffer.data(), size, path);
    EXPECT_EQ(buffer.substr(size), std::string(8, '#')) << "written past the end";
    return {answer, buffer.substr(0, std::min<size_t>(size, answer + 2))};
  }

  ScratchDir dir_;
  int files_ = 0;
};

// One file, one section asked for, and the entries read (each ending in a zero).
TEST_F(ProfileTest, ReadsSectionsAsTheFunctionsFindThem) {
  const struct {
    std::string file, section, entries;
  } cases[] = {
      {"; c\n[Other]\nx=y\n[S]\nkey=value\n  spaced  \t=\t  out value  \nlone word\n; c\n\n   ;c\n"
       "#hash=x\npath=C:\\f.ini ; kept\n\"q\" = \"k\"\nexpr=a=b\nempty=\n[Later]\nz=1\n",
       "S",
       "key=value\0spaced=out value\0lone word\0#hash=x\0path=C:\\f.ini ; kept\0\"q\"=\"k\"\0"
       "expr=a=b\0empty=\0"s},
      {"[ Agent ] trailing text\na=1\n", "AGENT", "a=1\0"s},  // case and text after ] ignored
      {"[Agent]\na=1\n", " Agent", ""},                       // the name asked for is as it is
      {"[S]\na=1\n[T]\nt=1\n[s]\nb=2\n", "S", "a=1\0"s},      // only the first of a name counts
      {"[S]\na=1\n[T\nb=2\n", "S", "a=1\0[T\0b=2\0"s},        // a header without ] is an entry
      {"x=1\n[S]\na=1\n", "", "x=1\0"s},                      // lines before the first header
      {"[\xe9]\na=1\n", "\xc9", ""},                          // only ASCII letters fold
      {"[\xe9]\na=1\n", "\xe9", "a=1\0"s},
      {"[S]\n; only a comment\n\n[T]\na=1\n", "S", ""},
      {"", "S", ""},
      {"[S]\r\na=1\r\nb=2\r\n", "S", "a=1\0b=2\0"s},
      {"[S]\ra=1\rb=2\r", "S", "a=1\0b=2\0"s},
      {"[S]\na=1\nb=2", "S", "a=1\0b=2\0"s},
      {"\t[S] \r\n\r\n \013 a \014= \0321\t\r\n\r\n\032b=2\032", "S", "a=1\0b=2\0"s},  // blanks
      {"[S]\n\034a=b\240\n", "S", "\034a=b\240\0"s},  // other bytes are no blanks
      // An entry with an empty name is dropped when the one kept before it in
      // the section also has an empty name.
      {"[S]\n=a\n = b\nk=1\n=c\n", "S", "=a\0k=1\0=c\0"s},
      {"[S]\n; c\n=a\n", "S", "=a\0"s},
      // A zero byte ends the name or value it is in; the line still counts.
      {"[S]\na=1\0xyz\nb=2"s, "S", "a=1\0b=2\0"s},
      {"[S]\n\0a=1\nb=2\n"s, "S", "=1\0b=2\0"s},
      {"[S\0x]\na=1\n"s, "S", "a=1\0"s},
      {"[S]\na=\xe9\xff\x80\n", "S", "a=\xe9\xff\x80\0"s},
      {"\xef\xbb\xbf[S]\na=1\n", "S", "a=1\0"s},  // UTF-8 mark
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    // What fits ends in one more zero; an empty list is two zeros.
    const auto size = static_cast<uint32_t>(c.entries.size());
    EXPECT_EQ(Section(c.file, c.section),
              std::make_pair(size, c.entries + (size ? "\0#"s : "\0\0"s)));
  }
  std::string buffer(16, '#');
  EXPECT_EQ(ReadIniSection("S", buffer.data(), 16, dir_.File("missing.ini")), 0u);
  EXPECT_EQ(buffer.substr(0, 3), "\0\0#"s);
}

TEST_F(ProfileTest, WritingReplacesTheSection) {
  const std::string path =
      NewFile("[A]\r\na=1\r\n[S]\r\n;c\r\nold=1\r\nolder=2\r\n[B]\r\nb=2\r\n[s]\r\nd=1\r\n");
  ASSERT_TRUE(WriteIniSection("s", "x=1\0  y  =  2 \0no equals\0=e\0\0", path));
  EXPECT_EQ(Read(path), "[A]\r\na=1\r\n[S]\r\nx=1\r\ny  =2 \r\n=e\r\n[B]\r\nb=2\r\n[s]\r\n");
  EXPECT_EQ(Section(Read(path), "S"), std::make_pair(11u, "x=1\0y=2\0=e\0\0#"s));

  ASSERT_TRUE(WriteIniSection("S", "\0", path));
  EXPECT_EQ(Read(path), "[A]\r\na=1\r\n[S]\r\n[B]\r\nb=2\r\n[s]\r\n");
}

// A new section goes at the end, on a line of its own; a missing file is
// created, unless there is nothing to write; a missing directory is a failure.
TEST_F(ProfileTest, WritingAppendsOrCreates) {
  for (const char* before : {"[A]\na=1\n", "[A]\na=1"}) {
    const std::string path = NewFile(before);
    ASSERT_TRUE(WriteIniSection("New", "k=v\0\0", path));
    const std::string text = Read(path);  // nothing new leaves it alone:
    EXPECT_TRUE(WriteIniSection("S", "\0", path));
    EXPECT_TRUE(WriteIniSection("S", "no equals\0\0", path));
    EXPECT_EQ(Read(path), text);
    EXPECT_EQ(WithLf(text), "[A]\na=1\n[New]\nk=v\n");
  }
  const std::string created = dir_.File("created.ini"), missing = dir_.File("missing.ini");
  ASSERT_TRUE(WriteIniSection("S", "k=v\0\0", created));
  EXPECT_EQ(WithLf(Read(created)), "[S]\nk=v\n");
  EXPECT_TRUE(WriteIniSection("S", "\0", missing));
  EXPECT_FALSE(FileExists(missing));
  EXPECT_FALSE(WriteIniSection("S", "a=1\0\0", dir_.File("no dir") + "/x.ini"));
}

// The portable writer beyond what the Windows functions promise: it changes
// only the section it writes, keeps the file's line ends and anything binary
// outside the section, and replaces the file atomically.
TEST_F(ProfileTest, PortableWriterChangesOnlyTheSectionInTheFilesOwnLineEnds) {
  if (PathSeparator() == '\\') GTEST_SKIP() << "the Windows functions write the file";
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
      {"", "S", "n=1\0"s, "[S]\nn=1\n"},
  };
  for (const auto& c : cases) {
    const std::string path = NewFile(c.before);
    EXPECT_TRUE(WriteIniSection(c.section, c.entries.c_str(), path));
    EXPECT_EQ(Read(path), c.after);
  }
  const std::string path = NewFile("[S]\na=1\n");
  FileSystemCalls failing = SetFileSystemCallsForTesting(nullptr);
  failing.rename = [](const std::string&, const std::string&) { return ENOSPC; };
  SetFileSystemCallsForTesting(&failing);
  EXPECT_FALSE(WriteIniSection("S", "b=2\0", path));
  SetFileSystemCallsForTesting(nullptr);
  EXPECT_EQ(Read(path), "[S]\na=1\n");  // a failed replacement leaves the file
  EXPECT_EQ(dir_.Entries().size(), static_cast<size_t>(files_)) << "a temporary file was left";
}

}  // namespace
}  // namespace platform
