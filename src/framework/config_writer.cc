#include "framework/config_writer.h"

#include <string_view>
#include <utility>

namespace VFW {

namespace {

bool IsOneLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

bool IsWritableSectionName(std::string_view name) {
  return !name.empty() && IsOneLine(name) && name.find(']') == std::string_view::npos;
}

bool IsWritableKey(std::string_view key) {
  if (key.empty() || !IsOneLine(key) || key.find('=') != std::string_view::npos) return false;
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  if (is_blank(key.front()) || is_blank(key.back())) return false;
  if (key.front() == '#' || key.front() == ';' || key.front() == '[') return false;
  return key != "INSTANCE";
}

}  // namespace

bool ConfigWriter::writeStream(const AgentConfig& config, std::string* stream) const {
  std::string text;
  if (with_header_) text += "# agent configuration stream\n";
  for (const auto& instance : config.getInstances()) {
    if (!IsOneLine(instance->getName())) return false;
    text += "INSTANCE=" + instance->getName() + "\n";
    for (const auto& section : instance->getSections()) {
      if (!IsWritableSectionName(section->getName())) return false;
      text += "[" + section->getName() + "]\n";
      for (const auto& [key, value] : section->getEntries()) {
        if (!IsWritableKey(key) || !IsOneLine(value)) return false;
        text += key + "=" + value + "\n";
      }
    }
  }
  *stream = std::move(text);
  return true;
}

}  // namespace VFW
