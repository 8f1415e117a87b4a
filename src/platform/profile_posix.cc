// The profile functions without the Windows ones: a reading of .ini files that
// gives what the Windows functions give (line by line, entry by entry, down to
// the quirks listed in profile.h), and a writer that changes only the section
// it writes and replaces the file atomically.
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/profile.h"

namespace platform {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr size_t kNone = static_cast<size_t>(-1);

// The blanks trimmed around lines, names and values; ^Z is an old end-of-file
// mark that some files still carry.
bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' || c == '\x1a';
}

std::string_view TrimLeft(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view TrimRight(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

// Names and values end at a zero byte, as strings of the Windows functions do.
std::string_view UpToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

// Section names are compared with ASCII letters folded, and nothing else.
bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i];
    char y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
    if (x != y) return false;
  }
  return true;
}

// A line as the file holds it: its text and its end ("\r\n", "\n", "\r" or
// nothing for a last line without one).
struct Line {
  std::string_view text;
  std::string_view end;
};

std::vector<Line> SplitLines(std::string_view body) {
  std::vector<Line> lines;
  size_t start = 0;
  while (start < body.size()) {
    const size_t stop = body.find_first_of("\r\n", start);
    if (stop == std::string_view::npos) {
      lines.push_back({body.substr(start), {}});
      break;
    }
    const size_t end_length = body.compare(stop, 2, "\r\n") == 0 ? 2 : 1;
    lines.push_back({body.substr(start, stop - start), body.substr(stop, end_length)});
    start = stop + end_length;
  }
  return lines;
}

// What a line means.
struct Parsed {
  enum Kind { kBlank, kHeader, kEntry } kind = kBlank;
  std::string_view name;                  // a header's or an entry's name, trimmed, up to a zero
  std::optional<std::string_view> value;  // after "=", trimmed, up to a zero
  bool raw_name_empty = true;             // the name was empty before cutting at a zero
};

Parsed ParseLine(std::string_view text) {
  Parsed parsed;
  const std::string_view line = TrimRight(TrimLeft(text));
  if (line.empty()) return parsed;
  if (line.front() == '[') {
    const size_t close = line.rfind(']');
    if (close != std::string_view::npos && close > 0) {
      parsed.kind = Parsed::kHeader;
      parsed.name = UpToZero(TrimRight(TrimLeft(line.substr(1, close - 1))));
      return parsed;
    }
  }
  parsed.kind = Parsed::kEntry;
  std::string_view name = line;
  const size_t equals = line.find('=');
  if (equals != std::string_view::npos) {
    name = TrimRight(line.substr(0, equals));
    parsed.value = UpToZero(TrimLeft(line.substr(equals + 1)));
  }
  parsed.raw_name_empty = name.empty();
  parsed.name = UpToZero(name);
  return parsed;
}

// A section of the file: the lines before the first header form the section
// named "" (which has no header line).
struct Section {
  std::string_view name;
  size_t header = kNone;  // index of the header line
  size_t begin = 0;       // body lines [begin, end)
  size_t end = 0;
};

std::vector<Section> FindSections(const std::vector<Line>& lines) {
  std::vector<Section> sections(1);
  for (size_t i = 0; i < lines.size(); ++i) {
    const Parsed parsed = ParseLine(lines[i].text);
    if (parsed.kind != Parsed::kHeader) continue;
    sections.back().end = i;
    sections.push_back({parsed.name, i, i + 1, 0});
  }
  sections.back().end = lines.size();
  return sections;
}

// The file's contents after an optional UTF-8 mark, which is kept aside.
struct ProfileText {
  std::string contents;
  std::string_view mark;
  std::vector<Line> lines;
  std::vector<Section> sections;

  void Parse() {
    std::string_view body = contents;
    if (body.substr(0, kUtf8Mark.size()) == kUtf8Mark) {
      mark = body.substr(0, kUtf8Mark.size());
      body.remove_prefix(kUtf8Mark.size());
    }
    lines = SplitLines(body);
    sections = FindSections(lines);
  }

  size_t Find(std::string_view name, size_t from = 0) const {
    for (size_t i = from; i < sections.size(); ++i) {
      if (SameName(sections[i].name, name)) return i;
    }
    return kNone;
  }
};

// The entries of a section, each followed by a zero. An entry whose name is
// empty is dropped when the entry kept before it in the section also has an
// empty name; entries with neither name nor "=" and ";" comments are skipped.
std::string SectionEntries(const ProfileText& text, const Section& section) {
  std::string entries;
  bool have_previous = false;
  bool previous_named = false;
  for (size_t i = section.begin; i < section.end; ++i) {
    const Parsed parsed = ParseLine(text.lines[i].text);
    if (parsed.kind != Parsed::kEntry) continue;
    if (parsed.raw_name_empty && have_previous && !previous_named) continue;
    have_previous = true;
    previous_named = !parsed.name.empty();
    if (parsed.name.empty() && !parsed.value) continue;
    if (!parsed.name.empty() && parsed.name.front() == ';') continue;
    entries.append(parsed.name);
    if (parsed.value) {
      entries.push_back('=');
      entries.append(*parsed.value);
    }
    entries.push_back('\0');
  }
  return entries;
}

// The lines the writer puts into a section: "name=value" with the blanks
// before the name and before the value removed; entries without "=" dropped.
std::vector<std::string> EntryLines(const char* entries) {
  std::vector<std::string> lines;
  for (const char* entry = entries; *entry != '\0'; entry += std::strlen(entry) + 1) {
    const std::string_view text(entry);
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) continue;
    std::string line(TrimLeft(text.substr(0, equals)));
    line.push_back('=');
    line.append(TrimLeft(text.substr(equals + 1)));
    lines.push_back(std::move(line));
  }
  return lines;
}

// The file's line end: that of its first line that has one, "\n" otherwise.
std::string_view LineEnd(const ProfileText& text) {
  for (const Line& line : text.lines) {
    if (!line.end.empty()) return line.end == "\r\n" ? "\r\n" : "\n";
  }
  return "\n";
}

// Index of the last line of [begin, end) that is not blank, or `begin` - 1.
size_t LastFilled(const ProfileText& text, size_t begin, size_t end) {
  size_t last = begin;
  for (size_t i = begin; i < end; ++i) {
    if (ParseLine(text.lines[i].text).kind != Parsed::kBlank) last = i + 1;
  }
  return last;  // one past the last filled line
}

std::string Rewrite(const ProfileText& text, size_t target, const std::vector<std::string>& entries,
                    std::string_view eol) {
  // Body lines that go: the filled part of the section written and of any later
  // section of the same name; trailing blank lines stay as separators.
  std::vector<bool> drop(text.lines.size(), false);
  for (size_t s = target; s != kNone; s = text.Find(text.sections[target].name, s + 1)) {
    const Section& section = text.sections[s];
    const size_t filled_end = LastFilled(text, section.begin, section.end);
    for (size_t i = section.begin; i < filled_end; ++i) drop[i] = true;
  }
  const Section& written = text.sections[target];
  std::string out(text.mark);
  auto put_entries = [&] {
    for (const std::string& entry : entries) out.append(entry).append(eol);
  };
  if (written.header == kNone) put_entries();
  for (size_t i = 0; i < text.lines.size(); ++i) {
    if (drop[i]) continue;
    const Line& line = text.lines[i];
    out.append(line.text);
    if (i == written.header) {
      out.append(line.end.empty() ? eol : line.end);
      put_entries();
    } else {
      out.append(line.end);
    }
  }
  return out;
}

std::string Append(const ProfileText& text, std::string_view section,
                   const std::vector<std::string>& entries, std::string_view eol) {
  std::string out = text.contents;
  if (!text.lines.empty() && text.lines.back().end.empty()) out.append(eol);
  out.append("[").append(TrimLeft(section)).append("]").append(eol);
  for (const std::string& entry : entries) out.append(entry).append(eol);
  return out;
}

}  // namespace

uint32_t ReadIniSection(const std::string& section, char* buffer, uint32_t size,
                        const std::string& path) {
  if (size == 0) return 0;
  ProfileText text;
  std::string entries;
  if (ReadFileContents(path, &text.contents) == 0) {
    text.Parse();
    const size_t found = text.Find(UpToZero(section));
    if (found != kNone) entries = SectionEntries(text, text.sections[found]);
  }
  if (entries.empty() || size <= 2) {
    buffer[0] = '\0';
    if (size > 1) buffer[1] = '\0';
    return 0;
  }
  // All must fit with the final zero and one byte to spare; otherwise the
  // buffer is filled, the last entry cut and two zeros end it.
  if (entries.size() + 1 < size) {
    std::memcpy(buffer, entries.data(), entries.size());
    buffer[entries.size()] = '\0';
    return static_cast<uint32_t>(entries.size());
  }
  std::memcpy(buffer, entries.data(), size - 2);
  buffer[size - 2] = '\0';
  buffer[size - 1] = '\0';
  return size - 2;
}

bool WriteIniSection(const std::string& section, const char* entries, const std::string& path) {
  ProfileText text;
  const int status = ReadFileContents(path, &text.contents);
  if (status != 0 && status != ENOENT) return false;
  text.Parse();
  const std::vector<std::string> lines = EntryLines(entries);
  const std::string_view eol = LineEnd(text);
  const std::string_view name = UpToZero(section);
  const size_t found = text.Find(name);
  if (found == kNone && lines.empty()) return true;  // nothing to write
  const std::string updated =
      found == kNone ? Append(text, name, lines, eol) : Rewrite(text, found, lines, eol);
  if (status == 0 && updated == text.contents) return true;
  return ReplaceFileContents(path, updated) == 0;
}

}  // namespace platform
