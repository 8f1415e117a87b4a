#include "driver/instance_name.h"

#include <cstdio>
#include <string_view>

#include "driver/report.h"
#include "framework/trace.h"

namespace driver {

bool getInstanceName(const char* msn, std::string* instanceName) {
  instanceName->clear();
  if (msn == nullptr) return false;
  const std::string_view text(msn);
  const size_t first = text.find(':');
  if (first == std::string_view::npos || first + 1 == text.size()) {
    REPORT_ERROR("Invalid MSN format: %s", msn);
    return false;
  }
  if (text.find(':', first + 1) != std::string_view::npos) {
    *instanceName = text.substr(0, first);
  }
  return true;
}

bool isUsableInstanceName(const std::string& name) {
  if (name.size() >= 128 || name == "." || name == "..") return false;
  // Windows drops blanks at the end of a file name, and a name that differs
  // from its files' names by a blank would name two instances at once.
  if (!name.empty() && (name.front() == ' ' || name.back() == ' ')) return false;
  for (const char c : name) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return false;
    if (std::string_view("\\/:*?\"<>|").find(c) != std::string_view::npos) return false;
  }
  return true;
}

namespace {

// Reports an MSN that gives no instance name.
ExitStatus NotAccepted(const char* msn) {
  REPORT_ERROR("Invalid format for MSN: %s.", msn != nullptr ? msn : "(null)");
  return ExitStatus::kNameNotAccepted;
}

}  // namespace

ExitStatus acceptInstanceName(const char* msn, std::string* instanceName) {
  if (!getInstanceName(msn, instanceName)) return NotAccepted(msn);
  if (!isUsableInstanceName(*instanceName)) {
    REPORT_ERROR("Invalid agent instance name: %s", instanceName->c_str());
    return ExitStatus::kNameNotAccepted;
  }
  return ExitStatus::kDone;
}

int doGetInstance(const char* msn) {
  Ras1Scope trace("doGetInstance");
  std::string instance;
  if (!getInstanceName(msn, &instance)) return StatusNumber(NotAccepted(msn));
  std::printf("%s\n", instance.c_str());
  return StatusNumber(ExitStatus::kDone);
}

}  // namespace driver
