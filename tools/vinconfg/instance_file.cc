#include "instance_file.h"

#include "platform/files.h"

namespace vinconfg {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' || c == '\x1a';
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

char Fold(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

bool NamesEqual(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Fold(a[i]) != Fold(b[i])) return false;
  }
  return true;
}

std::string UpperCase(std::string_view name) {
  std::string upper(name);
  for (char& c : upper) c = Fold(c);
  return upper;
}

bool InstanceFile::Load(const std::string& path) {
  std::string text;
  if (platform::ReadFileContents(path, &text) != 0) return false;
  Parse(text);
  return true;
}

void InstanceFile::Parse(std::string_view text) {
  sections_.clear();
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  IniSection* current = nullptr;  // entries before the first header belong to none
  while (!text.empty()) {
    const size_t end = text.find_first_of("\r\n");
    std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[' && line.find(']') != std::string_view::npos) {
      sections_.push_back({std::string(Trim(line.substr(1, line.rfind(']') - 1))), {}});
      current = &sections_.back();
      continue;
    }
    const size_t equals = line.find('=');
    if (current == nullptr || equals == std::string_view::npos) continue;
    current->entries.emplace_back(std::string(Trim(line.substr(0, equals))),
                                  std::string(Trim(line.substr(equals + 1))));
  }
}

std::vector<Entry> InstanceFile::EntriesOf(std::string_view section) const {
  std::vector<Entry> entries;
  for (const IniSection& candidate : sections_) {
    if (NamesEqual(candidate.name, section)) {
      entries.insert(entries.end(), candidate.entries.begin(), candidate.entries.end());
    }
  }
  return entries;
}

std::string InstanceFile::ValueOf(std::string_view section, std::string_view name) const {
  for (const IniSection& candidate : sections_) {
    if (!NamesEqual(candidate.name, section)) continue;
    for (const Entry& entry : candidate.entries) {
      if (NamesEqual(entry.first, name)) return entry.second;
    }
    break;
  }
  return {};
}

bool InstanceFile::HasSection(std::string_view section) const {
  for (const IniSection& candidate : sections_) {
    if (NamesEqual(candidate.name, section)) return true;
  }
  return false;
}

}  // namespace vinconfg
