#include "placeholders.h"

#include <cstdlib>

#include "instance_file.h"
#include "platform/system.h"

namespace vinconfg {
namespace {

std::string EnvironmentOr(const char* name, const std::string& fallback) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? std::string(value) : fallback;
}

}  // namespace

Placeholders PlaceholdersFor(const std::string& etc, const InstanceFile& file,
                             const std::string& instance) {
  // The directories the utility itself writes into the files it resolves:
  // the agent's directory holds its programs as well, its "logs" the logs.
  return {
      {"ETCPATH", etc},
      {"BINPATH", etc},
      {"DLLPATH", etc},
      {"LOGPATH", etc + "\\logs"},
      {"PORTNUMBER", EnvironmentOr("PORTNUMBER", "1999")},
      {"INSTANCENAME", instance},
      {"COMPUTERNAME", EnvironmentOr("COMPUTERNAME", platform::ComputerName())},
      {"MARPROD", file.ValueOf("Identity", "MarProd")},
      {"MARVERS", file.ValueOf("Identity", "MarVers")},
      {"MARTASK", file.ValueOf("Identity", "MarTask")},
  };
}

std::string Resolve(std::string_view text, const Placeholders& placeholders) {
  std::string resolved;
  resolved.reserve(text.size());
  while (!text.empty()) {
    const size_t open = text.find('@');
    const size_t close = open == std::string_view::npos ? open : text.find('@', open + 1);
    if (close == std::string_view::npos) break;
    resolved.append(text.substr(0, open));
    const auto found = placeholders.find(UpperCase(text.substr(open + 1, close - open - 1)));
    if (found != placeholders.end()) {
      resolved.append(found->second);
      text.remove_prefix(close + 1);
    } else {  // not a placeholder: its closing sign may open the next one
      resolved.append(text.substr(open, close - open));
      text.remove_prefix(close);
    }
  }
  resolved.append(text);
  return resolved;
}

}  // namespace vinconfg
