// Named mutexes on POSIX systems: an exclusive flock on a file named after the
// mutex in the temporary directory. A flock belongs to an open file, not to a
// thread, so the threads of this process share one lock per name and take
// turns through a process-wide state: the holding thread re-enters at once,
// other threads wait for it before they try the file lock. A thread that ends
// holding the mutex leaves it abandoned, as on Windows: released, and the next
// thread to take it is told. A process that dies holding the mutex releases it
// with its files; no other process can tell.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/named_mutex.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPollInterval = std::chrono::milliseconds(10);
constexpr uint32_t kInfinite = 0xFFFFFFFF;

// The file for a mutex: the name with every byte that is not a letter, digit,
// "-", "." or "_" written as %XX, so that different names never share a file.
std::string LockPath(const std::string& name) {
  const char* directory = std::getenv("TMPDIR");
  std::string path = directory != nullptr && *directory != '\0' ? directory : "/tmp";
  if (path.back() != '/') path.push_back('/');
  path += "sqxa-mutex-";
  static const char kHex[] = "0123456789ABCDEF";
  for (const char c : name) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_') {
      path.push_back(c);
    } else {
      path.push_back('%');
      path.push_back(kHex[byte >> 4]);
      path.push_back(kHex[byte & 15]);
    }
  }
  return path + ".lock";
}

// What the threads of this process know about one named mutex.
struct Shared {
  explicit Shared(int descriptor) : fd(descriptor) {}
  ~Shared() { close(fd); }

  std::mutex guard;
  std::condition_variable turn;
  const int fd;
  bool taken = false;  // a thread of this process holds the mutex or is taking the file lock
  std::thread::id owner;
  unsigned count = 0;
  bool abandoned = false;  // its last holder ended holding it

  // Gives the mutex up, with `s.guard` held.
  void GiveUp() {
    flock(fd, LOCK_UN);
    count = 0;
    owner = std::thread::id();
    taken = false;
    turn.notify_one();
  }
};

// The mutexes the current thread holds; those it still holds when it ends are
// left abandoned.
class Holdings {
 public:
  ~Holdings() {
    for (const std::weak_ptr<Shared>& weak : held_) {
      const std::shared_ptr<Shared> s = weak.lock();
      if (!s) continue;
      std::lock_guard<std::mutex> lock(s->guard);
      if (s->count == 0 || s->owner != std::this_thread::get_id()) continue;
      s->abandoned = true;
      s->GiveUp();
    }
  }
  void Add(const std::shared_ptr<Shared>& shared) { held_.push_back(shared); }
  void Remove(const Shared* shared) {
    std::erase_if(held_, [shared](const std::weak_ptr<Shared>& weak) {
      const std::shared_ptr<Shared> s = weak.lock();
      return !s || s.get() == shared;
    });
  }

 private:
  std::vector<std::weak_ptr<Shared>> held_;
};

thread_local Holdings holdings;

// One Shared per name while any NamedMutex of that name exists.
std::shared_ptr<Shared> SharedFor(const std::string& name) {
  static std::mutex registry_guard;
  static std::map<std::string, std::weak_ptr<Shared>> registry;
  std::lock_guard<std::mutex> lock(registry_guard);
  std::weak_ptr<Shared>& entry = registry[name];
  if (std::shared_ptr<Shared> shared = entry.lock()) return shared;
  const std::string path = LockPath(name);
  int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  // Another user's file: a read-only descriptor locks just as well.
  if (fd < 0 && errno == EACCES) fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    registry.erase(name);
    return nullptr;
  }
  auto shared = std::make_shared<Shared>(fd);
  entry = shared;
  return shared;
}

class PosixNamedMutex final : public NamedMutex {
 public:
  explicit PosixNamedMutex(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

  WaitResult Wait(uint32_t timeout_ms) override {
    Shared& s = *shared_;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeout_ms);
    const auto past = [&] { return timeout_ms != kInfinite && Clock::now() >= deadline; };
    {
      std::unique_lock<std::mutex> lock(s.guard);
      if (s.count > 0 && s.owner == std::this_thread::get_id()) {
        ++s.count;
        return kAcquired;
      }
      while (s.taken) {
        if (timeout_ms == kInfinite) {
          s.turn.wait(lock);
        } else if (s.turn.wait_until(lock, deadline) == std::cv_status::timeout && s.taken) {
          return kTimeout;
        }
      }
      s.taken = true;
    }
    // This thread alone of the process now tries the file lock.
    WaitResult result = kAcquired;
    for (;;) {
      if (flock(s.fd, LOCK_EX | LOCK_NB) == 0) break;
      if (errno != EWOULDBLOCK && errno != EINTR) {
        result = kFailed;
        break;
      }
      if (past()) {
        result = kTimeout;
        break;
      }
      std::this_thread::sleep_for(kPollInterval);
    }
    std::lock_guard<std::mutex> lock(s.guard);
    if (result == kAcquired) {
      s.owner = std::this_thread::get_id();
      s.count = 1;
      holdings.Add(shared_);
      if (s.abandoned) result = kAbandoned;
      s.abandoned = false;
    } else {
      s.taken = false;
      s.turn.notify_one();
    }
    return result;
  }

  void Release() override {
    Shared& s = *shared_;
    std::lock_guard<std::mutex> lock(s.guard);
    if (s.count == 0 || s.owner != std::this_thread::get_id()) return;
    if (--s.count > 0) return;
    s.GiveUp();
    holdings.Remove(&s);
  }

 private:
  std::shared_ptr<Shared> shared_;
};

}  // namespace

std::unique_ptr<NamedMutex> NamedMutex::Create(const std::string& name) {
  std::shared_ptr<Shared> shared = SharedFor(name);
  if (!shared) return nullptr;
  return std::make_unique<PosixNamedMutex>(std::move(shared));
}

}  // namespace platform
