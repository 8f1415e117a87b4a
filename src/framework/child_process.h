// A child process with its three standard streams, as the operations use it:
// start, write and close its input, wait, then read what it wrote.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process.h"

namespace VFW {

class Process {
 public:
  class InputPipe {  // the child's standard input, written by us
   public:
    [[nodiscard]] bool write(std::string_view data);
    void close();

   private:
    friend class Process;
    platform::Process* child_ = nullptr;
  };

  class OutputPipe {  // the child's standard output or error, read by us
   public:
    // Up to `size` bytes into `buffer`; 0 or less at the end.
    [[nodiscard]] int read(char* buffer, int size);

   private:
    friend class Process;
    platform::Process* child_ = nullptr;
    bool errors_ = false;
  };

  Process(std::string program, std::vector<std::string> arguments);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  [[nodiscard]] bool start();
  [[nodiscard]] InputPipe& getStdIn() { return stdin_; }
  [[nodiscard]] OutputPipe& getStdOut() { return stdout_; }
  [[nodiscard]] OutputPipe& getStdErr() { return stderr_; }
  // Waits for the child to end and stores its exit code; a child still running
  // after `limitMs` (when not platform::kNoTimeLimit) is killed.
  [[nodiscard]] bool wait(int* exitCode, unsigned limitMs = platform::kNoTimeLimit);
  // After wait: empty when the child ended by itself, else what ended it (a
  // signal, an exception it did not handle).
  [[nodiscard]] std::string abnormalEnd() const;

 private:
  std::unique_ptr<platform::Process> child_;
  InputPipe stdin_;
  OutputPipe stdout_;
  OutputPipe stderr_;
};

}  // namespace VFW
