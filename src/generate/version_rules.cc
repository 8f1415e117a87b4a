#include "generate/version_rules.h"

#include <cstdlib>

namespace generate {

namespace {

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

}  // namespace

const char* OracleVersionTag(const std::string& version) {
  if (StartsWith(version, "8.1")) return "VOR08";
  if (StartsWith(version, "9")) return "VOR09";
  if (StartsWith(version, "10")) return "VOR10";
  if (StartsWith(version, "11")) return "VOR11";
  return "VOR10";
}

bool SybaseOlderCollector(const std::string& version) {
  return StartsWith(version, "11.") || StartsWith(version, "12.");
}

int SybaseMajorVersion(const std::string& version) {
  return static_cast<int>(std::strtol(version.c_str(), nullptr, 10));
}

std::string SybaseMinorDigit(const std::string& version) {
  const std::string::size_type dot = version.find('.');
  const std::string::size_type at = dot == std::string::npos ? 0 : dot + 1;
  return at < version.size() ? version.substr(at, 1) : "";
}

}  // namespace generate
