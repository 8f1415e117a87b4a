// Behaviour of named mutexes, the same on every backend.
#include "platform/named_mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/system.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

// A name of its own for each test, so that runs at the same time do not meet.
std::string UniqueName(const std::string& base) {
  return "sqxa-test " + base + " " + std::to_string(CurrentProcessId());
}

// Waits on `mutex` from another thread and releases at once when acquired.
NamedMutex::WaitResult WaitElsewhere(NamedMutex& mutex, uint32_t timeout_ms) {
  return std::async(std::launch::async,
                    [&mutex, timeout_ms] {
                      const NamedMutex::WaitResult result = mutex.Wait(timeout_ms);
                      if (result == NamedMutex::kAcquired) mutex.Release();
                      return result;
                    })
      .get();
}

// Where a mutex is a lock file in the temporary directory, the files of the
// test go with its scratch directory.
class NamedMutexTest : public ::testing::Test {
 protected:
  sqxa_test::ScratchDir dir_;
  sqxa_test::ScopedEnv tmpdir_{"TMPDIR", dir_.path().string()};
};

TEST_F(NamedMutexTest, HoldingThreadReentersOthersWait) {
  std::unique_ptr<NamedMutex> mutex = NamedMutex::Create(UniqueName("reentry"));
  ASSERT_TRUE(mutex != nullptr);
  ASSERT_EQ(mutex->Wait(0), NamedMutex::kAcquired);
  EXPECT_EQ(mutex->Wait(0), NamedMutex::kAcquired);

  const auto start = Clock::now();
  EXPECT_EQ(WaitElsewhere(*mutex, 100), NamedMutex::kTimeout);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(90));

  mutex->Release();  // still held once
  EXPECT_EQ(WaitElsewhere(*mutex, 0), NamedMutex::kTimeout);
  mutex->Release();
  EXPECT_EQ(WaitElsewhere(*mutex, 0), NamedMutex::kAcquired);
  EXPECT_EQ(mutex->Wait(0), NamedMutex::kAcquired);
  mutex->Release();
}

TEST_F(NamedMutexTest, ObjectsOfOneNameAreOneMutex) {
  const std::string name = UniqueName("shared: /*?");
  std::unique_ptr<NamedMutex> first = NamedMutex::Create(name);
  std::unique_ptr<NamedMutex> second = NamedMutex::Create(name);
  std::unique_ptr<NamedMutex> other = NamedMutex::Create(name + " other");
  ASSERT_TRUE(first && second && other);
  ASSERT_EQ(first->Wait(0), NamedMutex::kAcquired);
  EXPECT_EQ(second->Wait(0), NamedMutex::kAcquired);  // the same thread re-enters
  second->Release();
  EXPECT_EQ(WaitElsewhere(*second, 50), NamedMutex::kTimeout);
  EXPECT_EQ(WaitElsewhere(*other, 0), NamedMutex::kAcquired);
  first->Release();
  EXPECT_EQ(WaitElsewhere(*second, 0), NamedMutex::kAcquired);
}

TEST_F(NamedMutexTest, WaiterAcquiresWhenReleased) {
  std::unique_ptr<NamedMutex> mutex = NamedMutex::Create(UniqueName("handover"));
  ASSERT_TRUE(mutex != nullptr);
  ASSERT_EQ(mutex->Wait(0), NamedMutex::kAcquired);
  auto waiter = std::async(std::launch::async, [&mutex] {
    const auto start = Clock::now();
    const NamedMutex::WaitResult result = mutex->Wait(10000);
    const auto waited = Clock::now() - start;
    if (result == NamedMutex::kAcquired) mutex->Release();
    return std::make_pair(result, waited);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  mutex->Release();
  const auto [result, waited] = waiter.get();
  EXPECT_EQ(result, NamedMutex::kAcquired);
  EXPECT_LT(waited, std::chrono::seconds(5));
  // Releasing a mutex this thread does not hold changes nothing.
  mutex->Release();
  EXPECT_EQ(mutex->Wait(0), NamedMutex::kAcquired);
  mutex->Release();
}

TEST_F(NamedMutexTest, AThreadThatEndsHoldingItLeavesItAbandoned) {
  std::unique_ptr<NamedMutex> mutex = NamedMutex::Create(UniqueName("abandoned"));
  ASSERT_TRUE(mutex != nullptr);
  std::thread([&mutex] { ASSERT_EQ(mutex->Wait(0), NamedMutex::kAcquired); }).join();
  EXPECT_EQ(mutex->Wait(1000), NamedMutex::kAbandoned);
  EXPECT_EQ(WaitElsewhere(*mutex, 0), NamedMutex::kTimeout);  // held now
  mutex->Release();
  EXPECT_EQ(mutex->Wait(0), NamedMutex::kAcquired);  // told once
  mutex->Release();
}

}  // namespace
}  // namespace platform
