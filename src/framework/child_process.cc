#include "framework/child_process.h"

#include <utility>

namespace VFW {

bool Process::InputPipe::write(std::string_view data) {
  return child_ != nullptr && child_->WriteStdIn(data);
}

void Process::InputPipe::close() {
  if (child_ != nullptr) child_->CloseStdIn();
}

int Process::OutputPipe::read(char* buffer, int size) {
  if (child_ == nullptr) return 0;
  return errors_ ? child_->ReadStdErr(buffer, size) : child_->ReadStdOut(buffer, size);
}

Process::Process(std::string program, std::vector<std::string> arguments)
    : child_(platform::Process::Create(std::move(program), std::move(arguments))) {
  stderr_.errors_ = true;
}

// The platform's Start puts out what this process has buffered first: the log
// of a run then shows everything up to the tool's start, however long the tool
// takes or however the run ends while it waits.
bool Process::start() {
  if (child_ == nullptr || !child_->Start()) return false;
  stdin_.child_ = stdout_.child_ = stderr_.child_ = child_.get();
  return true;
}

bool Process::wait(int* exitCode, unsigned limitMs) {
  return child_ != nullptr && child_->Wait(exitCode, limitMs);
}

std::string Process::abnormalEnd() const {
  return child_ != nullptr ? child_->AbnormalEnd() : std::string();
}

}  // namespace VFW
