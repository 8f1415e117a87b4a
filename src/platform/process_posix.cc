// Child processes on POSIX systems: posix_spawn with three pipes. The C library
// reports a program that cannot be executed as a failed spawn (its child
// signals the failure back before it would exit), so Start answers false rather
// than the caller seeing a child that exits 127.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/files.h"
#include "platform/process.h"
#include "platform/process_output.h"

extern char** environ;

namespace platform {
namespace {

// Reads one chunk of a pipe, going on after an interrupted call.
long ReadPipe(int fd, char* buffer, unsigned size) {
  for (;;) {
    const ssize_t count = read(fd, buffer, size);
    if (count >= 0 || errno != EINTR) return static_cast<long>(count);
  }
}

// Collects what the child writes to the pipe `fd`, closing it at the end.
void Collect(OutputCollector* collector, int fd) {
  collector->Start([fd](char* buffer, unsigned size) { return ReadPipe(fd, buffer, size); },
                   [fd] { close(fd); });
}

class Fd {
 public:
  Fd() = default;
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  ~Fd() { Close(); }
  int get() const { return fd_; }
  void Reset(int fd) {
    Close();
    fd_ = fd;
  }
  int Release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }
  void Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

struct Pipe {
  Fd read;
  Fd write;
  bool Open() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return false;
    read.Reset(fds[0]);
    write.Reset(fds[1]);
    return true;
  }
};

// Writing to a child that no longer reads must fail, not end this process.
void IgnoreBrokenPipes() {
  static std::once_flag once;
  std::call_once(once, [] { signal(SIGPIPE, SIG_IGN); });
}

class PosixProcess final : public Process {
 public:
  PosixProcess(std::string program, std::vector<std::string> arguments)
      : program_(std::move(program)), arguments_(std::move(arguments)) {}

  bool Start() override {
    if (pid_ > 0) return false;
    // What this run has written is in its files, and durable, before another
    // program acts on it.
    FlushAll();
    IgnoreBrokenPipes();
    Pipe in, out, err;
    if (!in.Open() || !out.Open() || !err.Open()) return false;

    const std::string program = NativePath(program_);
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (std::string& argument : arguments_) argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.read.get(), 0);
    posix_spawn_file_actions_adddup2(&actions, out.write.get(), 1);
    posix_spawn_file_actions_adddup2(&actions, err.write.get(), 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    // The child leads a process group of its own, so that a time limit ends
    // whatever it started too: a grandchild left holding its output pipes
    // would otherwise keep this process waiting as long as it lives.
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    pid_t pid = -1;
    const int status =
        posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) return false;

    pid_ = pid;
    stdin_.Reset(in.write.Release());
    Collect(&stdout_, out.read.Release());
    Collect(&stderr_, err.read.Release());
    return true;
  }

  bool WriteStdIn(std::string_view data) override {
    if (stdin_.get() < 0) return false;
    while (!data.empty()) {
      const ssize_t count = write(stdin_.get(), data.data(), data.size());
      if (count < 0) {
        if (errno == EINTR) continue;
        return false;
      }
      data.remove_prefix(static_cast<size_t>(count));
    }
    return true;
  }

  void CloseStdIn() override { stdin_.Close(); }

  bool Wait(int* exit_code, unsigned limit_ms) override {
    if (pid_ <= 0) return false;
    int status = 0;
    if (limit_ms != kNoTimeLimit && !WaitWithin(limit_ms)) {
      kill(-pid_, SIGKILL);
      abnormal_end_ = TimeLimitText(limit_ms);
    }
    while (waitpid(pid_, &status, 0) < 0) {
      if (errno != EINTR) return false;
    }
    pid_ = 0;
    stdin_.Close();
    stdout_.Join();
    stderr_.Join();
    if (WIFEXITED(status)) {
      *exit_code = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
      *exit_code = 128 + WTERMSIG(status);
      const char* name = strsignal(WTERMSIG(status));
      if (abnormal_end_.empty())
        abnormal_end_ = "signal " + std::to_string(WTERMSIG(status)) + " (" +
                        (name != nullptr ? name : "unknown") + ")";
    } else {
      *exit_code = -1;
    }
    return true;
  }

  const std::string& AbnormalEnd() const override { return abnormal_end_; }
  int ReadStdOut(char* buffer, int size) override { return stdout_.Read(buffer, size); }
  int ReadStdErr(char* buffer, int size) override { return stderr_.Read(buffer, size); }

 private:
  // Whether the child ends within `limit_ms`; when it does, it is left to be
  // reaped. The end is waited for on a descriptor of the child, so that it is
  // seen the moment it comes; a kernel without such descriptors is asked with
  // growing pauses instead.
  bool WaitWithin(unsigned limit_ms) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
    Fd child;
#ifdef SYS_pidfd_open
    child.Reset(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
#endif
    auto pause = std::chrono::microseconds(100);
    for (;;) {
      siginfo_t info{};
      if (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
          info.si_pid == pid_) {
        return true;
      }
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return false;
      if (child.get() >= 0) {
        pollfd ended{child.get(), POLLIN, 0};
        (void)poll(&ended, 1, static_cast<int>(std::min<int64_t>(left.count(), INT32_MAX)));
        continue;  // ended, interrupted or out of time: the next round tells
      }
      std::this_thread::sleep_for(pause);
      pause = std::min(pause * 2, std::chrono::microseconds(20000));
    }
  }

  std::string program_;
  std::vector<std::string> arguments_;
  pid_t pid_ = -1;
  std::string abnormal_end_;
  Fd stdin_;
  OutputCollector stdout_;
  OutputCollector stderr_;
};

}  // namespace

std::unique_ptr<Process> Process::Create(const std::string& program,
                                         const std::vector<std::string>& arguments) {
  return std::make_unique<PosixProcess>(program, arguments);
}

const char* ExecutableSuffix() { return ""; }

}  // namespace platform
