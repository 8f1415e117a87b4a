// The process seam: a child program with its three standard streams redirected
// and its exit code. The program and its arguments are passed separately, so a
// path with blanks cannot be misread.
//
// The child's standard output and error are collected from the moment it starts,
// so a child that writes more than a pipe holds never blocks; reads return what
// was collected.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// What names a program file here: ".exe" on Windows, nothing elsewhere.
[[nodiscard]] const char* ExecutableSuffix();

inline constexpr unsigned kNoTimeLimit = 0;

// How a time limit reads in a report: "the time limit of 300 seconds".
[[nodiscard]] std::string TimeLimitText(unsigned limit_ms);

class Process {
 public:
  virtual ~Process() = default;  // closes every handle; a running child is left to run

  [[nodiscard]] static std::unique_ptr<Process> Create(const std::string& program,
                                                       const std::vector<std::string>& arguments);

  // Starts the child; false when it cannot be started (missing, not executable).
  [[nodiscard]] virtual bool Start() = 0;
  // Writes to the child's standard input; false when the child does not take it.
  [[nodiscard]] virtual bool WriteStdIn(std::string_view data) = 0;
  virtual void CloseStdIn() = 0;
  // Waits for the child to end; its exit code (128 + signal for a child killed by
  // a signal) goes to `exit_code`. A child still running after `limit_ms`
  // (when not kNoTimeLimit) is killed, and the wait goes on to its end.
  [[nodiscard]] virtual bool Wait(int* exit_code, unsigned limit_ms = kNoTimeLimit) = 0;
  // After Wait: empty when the child ended by itself, whatever its exit code;
  // otherwise what ended it, in words: "signal 9 (Killed)" where signals end
  // processes, "exception 0xC0000005" for an exception the child did not
  // handle on Windows, "the time limit of 300 seconds".
  [[nodiscard]] virtual const std::string& AbnormalEnd() const = 0;
  // After Wait: up to `size` bytes of what the child wrote; 0 at the end.
  [[nodiscard]] virtual int ReadStdOut(char* buffer, int size) = 0;
  [[nodiscard]] virtual int ReadStdErr(char* buffer, int size) = 0;
};

}  // namespace platform
