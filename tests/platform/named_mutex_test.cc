// Behaviour of named mutexes, the same on every backend.
#include "platform/named_mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/system.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;
using Mutex = std::unique_ptr<NamedMutex>;

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
// test go with its scratch directory. Each test has a name of its own, so that
// runs at the same time do not meet.
class NamedMutexTest : public ::testing::Test {
 protected:
  Mutex Create(const std::string& base) {
    Mutex mutex =
        NamedMutex::Create("sqxa-test " + base + " " + std::to_string(CurrentProcessId()));
    EXPECT_TRUE(mutex != nullptr);
    return mutex;
  }
  sqxa_test::ScratchDir dir_;
  sqxa_test::ScopedEnv tmpdir_{"TMPDIR", dir_.path().string()};
};

// The holding thread re-enters, through any object of the name; others wait.
TEST_F(NamedMutexTest, ObjectsOfOneNameAreOneReentrantMutex) {
  Mutex first = Create("shared: /*?"), second = Create("shared: /*?"), other = Create("other");
  ASSERT_TRUE(first && second && other);
  ASSERT_EQ(first->Wait(0), NamedMutex::kAcquired);
  EXPECT_EQ(second->Wait(0), NamedMutex::kAcquired);
  const auto start = Clock::now();
  EXPECT_EQ(WaitElsewhere(*first, 100), NamedMutex::kTimeout);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(90));
  EXPECT_EQ(WaitElsewhere(*other, 0), NamedMutex::kAcquired);
  second->Release();  // still held once
  EXPECT_EQ(WaitElsewhere(*second, 0), NamedMutex::kTimeout);
  first->Release();
  EXPECT_EQ(WaitElsewhere(*second, 0), NamedMutex::kAcquired);
  first->Release();  // not held by this thread: changes nothing
  EXPECT_EQ(WaitElsewhere(*first, 0), NamedMutex::kAcquired);
}

TEST_F(NamedMutexTest, WaiterAcquiresWhenReleased) {
  Mutex mutex = Create("handover");
  ASSERT_TRUE(mutex && mutex->Wait(0) == NamedMutex::kAcquired);
  auto waiter = std::async(std::launch::async, [&mutex] {
    const auto start = Clock::now();
    const NamedMutex::WaitResult result = mutex->Wait(10000);
    if (result == NamedMutex::kAcquired) mutex->Release();
    return result == NamedMutex::kAcquired && Clock::now() - start < std::chrono::seconds(5);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  mutex->Release();
  EXPECT_TRUE(waiter.get());
}

// A thread that ends holding it leaves it abandoned: told once, to the next owner.
TEST_F(NamedMutexTest, AThreadThatEndsHoldingItLeavesItAbandoned) {
  Mutex mutex = Create("abandoned");
  ASSERT_TRUE(mutex);
  std::thread([&mutex] { ASSERT_EQ(mutex->Wait(0), NamedMutex::kAcquired); }).join();
  EXPECT_EQ(mutex->Wait(1000), NamedMutex::kAbandoned);
  EXPECT_EQ(WaitElsewhere(*mutex, 0), NamedMutex::kTimeout);  // held now
  mutex->Release();
  EXPECT_EQ(mutex->Wait(0), NamedMutex::kAcquired);
  mutex->Release();
}

}  // namespace
}  // namespace platform
