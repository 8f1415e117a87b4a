// Child processes on Windows: CreateProcess with three pipes. Only the child's
// ends of the pipes are inheritable; the command line is quoted so that the C
// runtime of the child splits it back into exactly the arguments given.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/process.h"
#include "platform/process_output.h"

namespace platform {
namespace {

class Handle {
 public:
  Handle() = default;
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }
  HANDLE get() const { return handle_; }
  HANDLE* out() {
    Close();
    return &handle_;
  }
  HANDLE Release() {
    const HANDLE handle = handle_;
    handle_ = nullptr;
    return handle;
  }
  void Close() {
    if (handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_ = nullptr;
};

// Reads one chunk of a pipe; a pipe whose writer has gone reads as its end.
long ReadPipe(HANDLE pipe, char* buffer, unsigned size) {
  DWORD count = 0;
  return ReadFile(pipe, buffer, size, &count, nullptr) ? static_cast<long>(count) : -1;
}

// Collects what the child writes to `pipe`, closing it at the end.
void Collect(OutputCollector* collector, HANDLE pipe) {
  collector->Start([pipe](char* buffer, unsigned size) { return ReadPipe(pipe, buffer, size); },
                   [pipe] { CloseHandle(pipe); });
}

// One argument as the Microsoft C runtime reads it back: quoted when it is
// empty or holds a blank or a quote; backslashes doubled where they precede a
// quote (an escaped one or the closing one).
void AppendQuoted(std::string* line, std::string_view argument) {
  if (!argument.empty() && argument.find_first_of(" \t\n\v\"") == std::string_view::npos) {
    line->append(argument);
    return;
  }
  line->push_back('"');
  size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '\\') {
      ++backslashes;
      continue;
    }
    if (c == '"') {
      line->append(backslashes * 2 + 1, '\\');
    } else {
      line->append(backslashes, '\\');
    }
    backslashes = 0;
    line->push_back(c);
  }
  line->append(backslashes * 2, '\\');
  line->push_back('"');
}

// A pipe whose `child` end is inheritable and whose other end is not.
bool OpenPipe(Handle* child_end, Handle* parent_end, bool child_reads) {
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  Handle read_end, write_end;
  if (!CreatePipe(read_end.out(), write_end.out(), &inherit, 0)) return false;
  Handle& mine = child_reads ? write_end : read_end;
  if (!SetHandleInformation(mine.get(), HANDLE_FLAG_INHERIT, 0)) return false;
  *child_end->out() = child_reads ? read_end.Release() : write_end.Release();
  *parent_end->out() = mine.Release();
  return true;
}

class Win32Process final : public Process {
 public:
  Win32Process(std::string program, std::vector<std::string> arguments)
      : program_(std::move(program)), arguments_(std::move(arguments)) {}

  bool Start() override {
    if (process_.get() != nullptr) return false;
    // What this run has written is in its files before another program acts
    // on it.
    FlushAll();
    Handle child_in, child_out, child_err, out, err;
    if (!OpenPipe(&child_in, &stdin_, true) || !OpenPipe(&child_out, &out, false) ||
        !OpenPipe(&child_err, &err, false)) {
      stdin_.Close();
      return false;
    }
    // The program name is read back by other rules (quotes only group), and a
    // Windows path cannot hold a quote.
    std::string line = "\"" + program_ + "\"";
    for (const std::string& argument : arguments_) {
      line.push_back(' ');
      AppendQuoted(&line, argument);
    }
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = child_in.get();
    startup.hStdOutput = child_out.get();
    startup.hStdError = child_err.get();
    PROCESS_INFORMATION info = {};
    if (!CreateProcessA(program_.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &info)) {
      stdin_.Close();
      return false;
    }
    CloseHandle(info.hThread);
    *process_.out() = info.hProcess;
    Collect(&stdout_, out.Release());
    Collect(&stderr_, err.Release());
    return true;
  }

  bool WriteStdIn(std::string_view data) override {
    if (stdin_.get() == nullptr) return false;
    while (!data.empty()) {
      const DWORD chunk = static_cast<DWORD>(std::min<size_t>(data.size(), 1 << 20));
      DWORD written = 0;
      if (!WriteFile(stdin_.get(), data.data(), chunk, &written, nullptr)) return false;
      data.remove_prefix(written);
    }
    return true;
  }

  void CloseStdIn() override { stdin_.Close(); }

  bool Wait(int* exit_code, unsigned limit_ms) override {
    if (process_.get() == nullptr) return false;
    if (limit_ms != kNoTimeLimit && WaitForSingleObject(process_.get(), limit_ms) == WAIT_TIMEOUT) {
      TerminateProcess(process_.get(), 1);
      abnormal_end_ = TimeLimitText(limit_ms);
    }
    if (WaitForSingleObject(process_.get(), INFINITE) != WAIT_OBJECT_0) return false;
    DWORD code = 0;
    if (!GetExitCodeProcess(process_.get(), &code)) return false;
    process_.Close();
    stdin_.Close();
    stdout_.Join();
    stderr_.Join();
    *exit_code = static_cast<int>(code);
    // An exception the child did not handle ends it with the exception's
    // code, an NTSTATUS of the error severity (0xC0000005 for an access
    // violation); no program exits so on purpose.
    if (abnormal_end_.empty() && (code & 0xC0000000u) == 0xC0000000u) {
      char text[32];
      std::snprintf(text, sizeof text, "exception 0x%08lX", static_cast<unsigned long>(code));
      abnormal_end_ = text;
    }
    return true;
  }

  const std::string& AbnormalEnd() const override { return abnormal_end_; }

  int ReadStdOut(char* buffer, int size) override { return stdout_.Read(buffer, size); }
  int ReadStdErr(char* buffer, int size) override { return stderr_.Read(buffer, size); }

 private:
  std::string program_;
  std::vector<std::string> arguments_;
  Handle process_;
  std::string abnormal_end_;
  Handle stdin_;
  OutputCollector stdout_;
  OutputCollector stderr_;
};

}  // namespace

std::unique_ptr<Process> Process::Create(const std::string& program,
                                         const std::vector<std::string>& arguments) {
  return std::make_unique<Win32Process>(program, arguments);
}

const char* ExecutableSuffix() { return ".exe"; }

}  // namespace platform
