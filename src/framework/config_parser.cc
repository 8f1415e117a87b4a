#include "framework/config_parser.h"

#include <string>
#include <utility>

namespace VFW {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kInstancePrefix = "INSTANCE=";

std::string_view TrimBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(kBlanks);
  return text.substr(first, last - first + 1);
}

// Splits the stream into lines, dropping the CR of a CR LF end and a CR at the
// very end of the stream.
class LineReader {
 public:
  explicit LineReader(std::string_view stream) : rest_(stream) {}

  bool Next(std::string_view* line) {
    if (rest_.empty()) return false;
    const size_t end = rest_.find('\n');
    *line = rest_.substr(0, end);
    rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
    if (!line->empty() && line->back() == '\r') line->remove_suffix(1);
    return true;
  }

 private:
  std::string_view rest_;
};

bool IsSkipped(std::string_view line) {
  const std::string_view text = TrimBlanks(line);
  return text.empty() || text.front() == '#' || text.front() == ';';
}

bool IsSectionHeader(std::string_view line, std::string_view* name) {
  if (line.empty() || line.front() != '[') return false;
  const size_t last = line.find_last_not_of(kBlanks);
  if (last == 0 || line[last] != ']') return false;
  *name = line.substr(1, last - 1);
  return true;
}

}  // namespace

bool ConfigParser::parseConfigFromStream(std::string_view stream, AgentConfig* config) {
  if (stream.find('\0') != std::string_view::npos) return false;

  AgentConfig parsed;
  InstanceConfig* instance = nullptr;
  ConfigSection* section = nullptr;
  LineReader lines(stream);
  std::string_view line;
  while (lines.Next(&line)) {
    if (IsSkipped(line)) continue;
    std::string_view name;
    if (line.substr(0, kInstancePrefix.size()) == kInstancePrefix) {
      instance = parsed.createInstance(std::string(line.substr(kInstancePrefix.size())));
      if (instance == nullptr) return false;
      section = nullptr;
    } else if (IsSectionHeader(line, &name)) {
      if (instance == nullptr) return false;
      section = instance->addSection(std::string(name));
      if (section == nullptr) return false;
    } else {
      const size_t equals = line.find('=');
      if (equals == std::string_view::npos || section == nullptr) return false;
      const std::string_view key = TrimBlanks(line.substr(0, equals));
      if (key.empty()) return false;
      section->writeEntry(std::string(key), std::string(line.substr(equals + 1)));
    }
  }

  *config = std::move(parsed);
  return true;
}

}  // namespace VFW
