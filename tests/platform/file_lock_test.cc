// The file lock. A second FileLock object stands in for a second process: each
// holds the file on its own.
#include "platform/file_lock.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

#include "common/scratch_dir.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

TEST(FileLock, SecondHolderWaitsTimesOutOrGetsTheLockWhenReleased) {
  sqxa_test::ScratchDir dir;
  const std::string path = dir.File("sq_xa.lock");
  std::unique_ptr<FileLock> first, second;
  ASSERT_EQ(FileLock::Acquire(path, 0, &first), 0);
  EXPECT_EQ(FileLock::Acquire(path, 0, &second), ETIMEDOUT);
  auto start = Clock::now();
  EXPECT_EQ(FileLock::Acquire(path, 150, &second), ETIMEDOUT);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(150));
  EXPECT_TRUE(second == nullptr);

  std::thread releaser([&first] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    first.reset();
  });
  start = Clock::now();
  EXPECT_EQ(FileLock::Acquire(path, 10000, &second), 0);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
  releaser.join();
  second.reset();
  EXPECT_EQ(std::filesystem::file_size(path), 0u) << "the file stays, empty";
  // A file that cannot be opened is no timeout.
  EXPECT_EQ(FileLock::Acquire(dir.File("missing") + "/sq_xa.lock", 0, &second), ENOENT);
  EXPECT_TRUE(second == nullptr);
}

}  // namespace
}  // namespace platform
