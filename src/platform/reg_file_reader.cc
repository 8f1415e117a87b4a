// RegFile: loading a file, indexing its lines, and the values and subkeys of
// its keys. The lookup of keys by name is in reg_file_index.cc.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/reg_file.h"
#include "platform/reg_file_encoding.h"
#include "platform/reg_file_lines.h"
#include "platform/reg_value_line.h"

namespace platform {
namespace {

class StringBytes final : public RegFileBytes {
 public:
  explicit StringBytes(std::string bytes) : bytes_(std::move(bytes)) {}
  std::string_view bytes() const override { return bytes_; }

 private:
  const std::string bytes_;
};

// The number of the last line that holds anything.
uint64_t LastLine(std::string_view text) {
  const size_t body = text.size() - (!text.empty() && text.back() == '\n');
  return 1 + static_cast<uint64_t>(std::count(text.begin(), text.begin() + body, '\n'));
}

// Drops the values marked removed, keeping the order of the others.
void DropRemoved(const std::vector<uint8_t>& removed, std::vector<RegValue>* values) {
  size_t kept = 0;
  for (size_t i = 0; i < values->size(); ++i) {
    if (removed[i]) continue;
    if (kept != i) (*values)[kept] = std::move((*values)[i]);
    ++kept;
  }
  values->resize(kept);
}

// The live value of a given name among those read so far. A key holds a few
// dozen values, compared in place; only a key with many more gets a table of
// folded names, which is then kept up to date as values are added.
class ValueIndex {
 public:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  ValueIndex(const std::vector<RegValue>& values, const std::vector<uint8_t>& removed)
      : values_(values), removed_(removed) {}

  size_t Find(std::string_view name) {
    if (values_.size() <= kCompared) {
      for (size_t i = 0; i < values_.size(); ++i) {
        const std::string& candidate = values_[i].name;
        if (candidate.size() == name.size() && !removed_[i] && RegNamesEqual(candidate, name)) {
          return i;
        }
      }
      return kNone;
    }
    for (; indexed_ < values_.size(); ++indexed_) {
      by_name_[reg::FoldName(values_[indexed_].name)] = indexed_;  // the later one lives
    }
    const auto found = by_name_.find(reg::FoldName(name));
    return found == by_name_.end() || removed_[found->second] ? kNone : found->second;
  }

 private:
  static constexpr size_t kCompared = 64;
  const std::vector<RegValue>& values_;
  const std::vector<uint8_t>& removed_;
  std::unordered_map<std::string, size_t> by_name_;  // folded name -> index
  size_t indexed_ = 0;
};

}  // namespace

RegFile::RegFile() : nodes_(1) {}

bool RegFile::Load(std::string bytes, RegFileError* error) {
  return Load(std::make_unique<StringBytes>(std::move(bytes)), error);
}

bool RegFile::Load(std::unique_ptr<const RegFileBytes> bytes, RegFileError* error) {
  *this = RegFile();
  auto fail = [&](uint64_t line, std::string message) {
    *this = RegFile();
    error->line = line;
    error->message = std::move(message);
    return false;
  };
  const std::string_view raw = bytes->bytes();
  size_t start = 0;
  switch (reg::EncodingOf(raw)) {
    case reg::FileEncoding::kUtf16Le: {
      const bool odd = raw.size() % 2 != 0;
      auto text = std::make_unique<StringBytes>(reg::Utf16ToUtf8(raw.substr(2)));
      bytes.reset();
      if (odd) {
        return fail(LastLine(text->bytes()),
                    "odd number of bytes in UTF-16 text (truncated file?)");
      }
      storage_ = std::move(text);
      break;
    }
    case reg::FileEncoding::kUtf16BigEndian:
      return fail(1, "big-endian UTF-16 text is not supported");
    case reg::FileEncoding::kUtf16WithoutMark:
      return fail(1, "UTF-16 text without a byte order mark");
    case reg::FileEncoding::kUtf8WithMark:
      start = 3;
      storage_ = std::move(bytes);
      break;
    case reg::FileEncoding::kUtf8:
      storage_ = std::move(bytes);
      break;
  }
  text_ = storage_->bytes();
  if (text_.size() >= kNone) return fail(1, "file of 4 GB or more");
  if (!Index(start, error)) {
    RegFileError found = std::move(*error);
    return fail(found.line, std::move(found.message));
  }
  return true;
}

bool RegFile::Index(size_t start, RegFileError* error) {
  auto fail = [&](uint64_t line, const char* message) {
    error->line = line;
    error->message = message;
    return false;
  };
  reg::LineCursor cursor(text_, start, text_.size(), 1);
  if (cursor.AtEnd()) return fail(1, "empty file");
  if (!reg::ReadHeaderLine(reg::TrimRight(cursor.Next()), &utf16_data_)) {
    return fail(1,
                "not a registry file (the first line is not \"Windows Registry Editor Version "
                "5.00\" or \"REGEDIT4\")");
  }
  // Room for the keys of a typical export; pages are only touched when used.
  nodes_.reserve(text_.size() / 128 + 1);
  sections_.reserve(text_.size() / 128 + 1);

  bool in_section = false;  // a key header came before
  uint32_t open = kNone;    // the section of the lines read, or none (another root)
  while (!cursor.AtEnd()) {
    const std::string_view line = reg::TrimLeft(cursor.Next());
    if (line.empty() || line[0] == ';') continue;
    const char* message = nullptr;
    if (line[0] == '"' || line[0] == '@') {
      message = in_section ? reg::ParseValueLine(line, &cursor, utf16_data_, nullptr)
                           : "value line before any key";
      if (open != kNone) sections_[open].end = static_cast<uint32_t>(cursor.position());
    } else if (line[0] == '[') {
      in_section = true;
      const size_t sections = sections_.size();
      message = IndexKeyHeader(line, cursor.position(), cursor.line() + 1);
      open = sections_.size() != sections ? static_cast<uint32_t>(sections) : kNone;
    } else {
      message = "unrecognized line";
    }
    if (message != nullptr) return fail(cursor.line(), message);
  }
  last_path_ = {};
  last_header_ = {};
  if (!use_table_) ListChildren();
  return true;
}

const char* RegFile::IndexKeyHeader(std::string_view line, size_t begin, uint64_t first_line) {
  const std::string_view bracketed = reg::TrimRight(line);
  if (bracketed.size() < 2 || bracketed.back() != ']') return "key header without a closing ']'";
  std::string_view path = bracketed.substr(1, bracketed.size() - 2);
  const bool remove = !path.empty() && path[0] == '-';
  if (remove) path.remove_prefix(1);
  if (!reg::StripLocalMachine(&path)) return nullptr;  // another root: checked, not kept
  if (remove) {
    DeletePath(path);
    return nullptr;
  }
  if (nodes_.size() + path.size() >= kNone || sections_.size() + 1 >= kNone) {
    return "too many keys";
  }
  KeyId key = kRoot;
  if (const char* message = CreatePath(path, &key)) return message;
  AddSection(key, begin, first_line);
  return nullptr;
}

void RegFile::AddSection(KeyId key, size_t begin, uint64_t first_line) {
  const auto section = static_cast<uint32_t>(sections_.size());
  sections_.push_back({static_cast<uint32_t>(begin), static_cast<uint32_t>(first_line), kNone,
                       static_cast<uint32_t>(begin)});
  Node& node = nodes_[key];
  if (node.last_section == kNone) {
    node.first_section = section;
  } else {
    sections_[node.last_section].next = section;
  }
  node.last_section = section;
}

std::string_view RegFile::KeyName(KeyId key) const { return NameOf(key); }

std::vector<RegFile::KeyId> RegFile::SubKeys(KeyId key) const {
  std::vector<KeyId> children;
  for (KeyId child = nodes_[key].first_child; child != kNone; child = nodes_[child].next_sibling) {
    if (nodes_[child].alive) children.push_back(child);
  }
  return children;
}

std::vector<RegValue> RegFile::Values(KeyId key) const {
  std::vector<RegValue> values;
  std::vector<uint8_t> removed;  // bytes: a bit vector's access costs more
  values.reserve(16);
  removed.reserve(16);
  ValueIndex by_name(values, removed);
  for (uint32_t id = nodes_[key].first_section; id != kNone; id = sections_[id].next) {
    const Section& section = sections_[id];
    reg::LineCursor cursor(text_, section.begin, section.end, section.first_line);
    while (!cursor.AtEnd()) {
      const std::string_view line = reg::TrimLeft(cursor.Next());
      if (line.empty() || (line[0] != '"' && line[0] != '@')) continue;
      reg::ValueLine parsed;
      if (reg::ParseValueLine(line, &cursor, utf16_data_, &parsed) != nullptr)
        continue;  // see Index
      const size_t found = by_name.Find(parsed.value.name);
      if (parsed.remove) {
        if (found != ValueIndex::kNone) removed[found] = 1;
      } else if (found != ValueIndex::kNone) {
        RegValue& kept = values[found];  // keeps its place and the case of its name
        kept.type = parsed.value.type;
        kept.data = std::move(parsed.value.data);
      } else {
        values.push_back(std::move(parsed.value));
        removed.push_back(0);
      }
    }
  }
  DropRemoved(removed, &values);
  return values;
}

// A REGEDIT4 file's hex(1), hex(2) and hex(7) data would read otherwise in the
// version 5 file written; the values of a key of several sections are merged;
// and lines ending in LF alone would leave the written file with mixed ends.
bool RegFile::ValueLines(KeyId key, std::string_view* lines) const {
  const Node& node = nodes_[key];
  *lines = {};
  if (node.first_section == kNone) return true;
  if (!utf16_data_ || node.first_section != node.last_section) return false;
  const Section& section = sections_[node.first_section];
  const std::string_view text = text_.substr(section.begin, section.end - section.begin);
  if (!text.empty() && text.back() != '\n') return false;  // the file's last line, without an end
  for (size_t feed = text.find('\n'); feed != std::string_view::npos;
       feed = text.find('\n', feed + 1)) {
    if (feed == 0 || text[feed - 1] != '\r') return false;
  }
  *lines = text;
  return true;
}

}  // namespace platform
