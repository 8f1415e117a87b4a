// Behaviour of the file lock, the same on every backend. A second FileLock
// object stands in for a second process: each holds the file on its own.
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

using sqxa_test::ScratchDir;
using Clock = std::chrono::steady_clock;

long ElapsedMs(Clock::time_point since) {
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

TEST(FileLock, SecondHolderTimesOutUntilTheFirstReleases) {
  ScratchDir dir;
  const std::string path = dir.File("sq_xa.lock");
  std::unique_ptr<FileLock> first;
  ASSERT_EQ(FileLock::Acquire(path, 0, &first), 0);
  ASSERT_TRUE(first != nullptr);
  EXPECT_TRUE(std::filesystem::is_regular_file(path));

  std::unique_ptr<FileLock> second;
  EXPECT_EQ(FileLock::Acquire(path, 0, &second), ETIMEDOUT);
  const auto start = Clock::now();
  EXPECT_EQ(FileLock::Acquire(path, 150, &second), ETIMEDOUT);
  EXPECT_GE(ElapsedMs(start), 150);
  EXPECT_TRUE(second == nullptr);

  first.reset();
  EXPECT_EQ(FileLock::Acquire(path, 0, &second), 0);
  second.reset();
  // The file stays, empty.
  EXPECT_TRUE(std::filesystem::is_regular_file(path));
  EXPECT_EQ(std::filesystem::file_size(path), 0u);

  // A file that cannot be opened is no timeout.
  EXPECT_EQ(FileLock::Acquire(dir.File("missing") + "/sq_xa.lock", 0, &second), ENOENT);
  EXPECT_TRUE(second == nullptr);
}

TEST(FileLock, WaiterGetsTheLockWhenItIsReleased) {
  ScratchDir dir;
  const std::string path = dir.File("sq_xa.lock");
  std::unique_ptr<FileLock> holder;
  ASSERT_EQ(FileLock::Acquire(path, 0, &holder), 0);
  std::thread releaser([&holder] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    holder.reset();
  });
  std::unique_ptr<FileLock> waiter;
  const auto start = Clock::now();
  EXPECT_EQ(FileLock::Acquire(path, 10000, &waiter), 0);
  EXPECT_LT(ElapsedMs(start), 5000);
  releaser.join();
}

}  // namespace
}  // namespace platform
