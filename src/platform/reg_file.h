// The registry file: the HKEY_LOCAL_MACHINE hive kept as a Registry Editor
// export (.reg), read and written without any service of the operating system.
//
// Accepted input: the header "Windows Registry Editor Version 5.00" (UTF-8, or
// UTF-16LE with a byte order mark) or "REGEDIT4" (reg_file_encoding.h); sections
// "[key]" and "[-key]" (the latter deletes the key and its subtree as of that
// point of the file); value lines (reg_value_line.h); ";" comments; LF or CRLF
// line ends. Sections under roots other than HKEY_LOCAL_MACHINE (or HKLM) are
// checked and ignored.
//
// Two ways in:
// - RegFile indexes a file in one pass (key headers, byte ranges, a syntax check
//   of every line) and parses the value lines of a key only when asked for that
//   key, so that opening one key of a very large file stays cheap
//   (reg_file_reader.cc; its key lookup in reg_file_index.cc).
// - RegTree holds the whole hive in order, takes changes and writes it back as
//   a version 5 UTF-8 file that RegFile reads back to the same keys and values
//   (reg_file_writer.cc). A writer changes a key or two of a file: the tree
//   reads a key's values only when they are asked for or changed, and writes
//   the value lines of the keys left alone back as the file has them.
//
// Values are in the text form of registry.h (reg_value_text.h). Key and value
// names compare without regard to the case of ASCII letters (reg_key_path.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/reg_key_path.h"
#include "platform/reg_value_text.h"
#include "platform/registry.h"

namespace platform {

struct RegFileError {
  uint64_t line = 0;  // 1 is the header line
  std::string message;
};

// Bytes a RegFile indexes and keeps while it lives, such as a mapped file.
class RegFileBytes {
 public:
  virtual ~RegFileBytes() = default;
  [[nodiscard]] virtual std::string_view bytes() const = 0;
};

class RegFile {
 public:
  using KeyId = uint32_t;
  static constexpr KeyId kRoot = 0;  // HKEY_LOCAL_MACHINE itself

  RegFile();  // an empty hive

  // Takes the file's bytes and indexes them. On malformed input answers false,
  // describes the first fault in `error` and leaves an empty hive.
  [[nodiscard]] bool Load(std::string bytes, RegFileError* error);
  [[nodiscard]] bool Load(std::unique_ptr<const RegFileBytes> bytes, RegFileError* error);

  // The key at `path` (backslash-separated, relative to HKEY_LOCAL_MACHINE).
  [[nodiscard]] bool FindKey(std::string_view path, KeyId* key) const;
  // The name of the key as the file spells it where the key first appears.
  [[nodiscard]] std::string_view KeyName(KeyId key) const;
  // The subkeys in the order they first appear in the file.
  [[nodiscard]] std::vector<KeyId> SubKeys(KeyId key) const;
  // The values in the order they first appear, parsed now from the key's sections.
  [[nodiscard]] std::vector<RegValue> Values(KeyId key) const;
  // The key's value lines as the file holds them, for a key whose lines,
  // copied into a version 5 file of CRLF lines, read back as Values(key): the
  // file is of version 5 and the key has at most one section, whose lines all
  // end in CRLF. Blank lines and comments after the last value are left out.
  // False for any other key.
  [[nodiscard]] bool ValueLines(KeyId key, std::string_view* lines) const;

 private:
  static constexpr uint32_t kNone = 0xFFFFFFFF;
  // Offsets and line numbers are 32-bit: a file of 4 GB or more is refused.
  struct Node {
    uint32_t name_offset = 0;  // in text_
    uint16_t name_size = 0;
    bool alive = true;   // false once a [-key] section deleted it
    bool sorted = true;  // every child came after the previous one in name order
    KeyId parent = 0;
    KeyId first_child = kNone;
    KeyId last_child = kNone;
    KeyId next_sibling = kNone;
    uint32_t first_section = kNone;
    uint32_t last_section = kNone;
  };
  struct Section {            // the value lines under one [key] header, up to the next
    uint32_t begin = 0;       // offset of the first line after the header
    uint32_t first_line = 0;  // its number
    uint32_t next = kNone;    // the key's next section
    uint32_t end = 0;         // offset after its last value line (begin when none)
  };
  struct Slot {
    uint32_t hash = 0;  // the low bits of the hash of (parent, folded name)
    KeyId entry = 0;    // node + 1; 0 = free
  };

  [[nodiscard]] bool Index(size_t start, RegFileError* error);
  // Indexes the key header `line`, whose section's lines start at `begin` with
  // the number `first_line`. Null or what is wrong.
  [[nodiscard]] const char* IndexKeyHeader(std::string_view line, size_t begin,
                                           uint64_t first_line);
  void AddSection(KeyId key, size_t begin, uint64_t first_line);
  [[nodiscard]] std::string_view NameOf(KeyId key) const;
  [[nodiscard]] uint32_t HashOf(KeyId key) const;
  [[nodiscard]] KeyId FindChild(KeyId parent, std::string_view name) const;
  KeyId AddChild(KeyId parent, std::string_view name, bool in_order);
  KeyId FindOrAddChild(KeyId parent, std::string_view name);
  [[nodiscard]] const char* CreatePath(std::string_view path, KeyId* key);
  void DeletePath(std::string_view path);
  void StartTable();
  void Insert(KeyId key);
  void Unlist(KeyId key);
  void ListChildren();

  std::unique_ptr<const RegFileBytes> storage_;
  std::string_view text_;   // UTF-8, in storage_
  bool utf16_data_ = true;  // hex(1), hex(2), hex(7) hold UTF-16LE (version 5)
  std::vector<Node> nodes_;
  std::vector<Section> sections_;
  // Finding a child by name. A file whose keys all come in name order (as
  // exported) needs no lookup while it is indexed: a sorted child list per key
  // is built at the end and searched by halves. Otherwise, from the first key
  // out of order or deleted, a hash table on (parent, name) is kept instead.
  bool use_table_ = false;
  std::vector<Slot> table_;
  std::vector<uint32_t> child_start_;  // children of n: children_[child_start_[n], [n + 1])
  std::vector<KeyId> children_;
  // While indexing: the previous key header (its path after the root) and the
  // keys of its names, each with where the name ends in it.
  struct PathStep {
    KeyId key;
    uint32_t begin;
    uint32_t end;
  };
  std::string_view last_header_;
  std::vector<PathStep> last_path_;
};

class RegTree {
 public:
  using KeyId = uint32_t;
  static constexpr KeyId kRoot = 0;

  RegTree();  // an empty hive
  // Reads the values of every key now; the tree does not refer to `file` later.
  explicit RegTree(const RegFile& file);
  // Keeps `file` and reads a key's values when they are first asked for or
  // changed; Serialize writes the value lines of the keys not changed as
  // `file` has them (RegFile::ValueLines).
  explicit RegTree(std::shared_ptr<const RegFile> file);

  [[nodiscard]] bool FindKey(std::string_view path, KeyId* key) const;
  // Finds or creates the key and any missing parents. False (nothing created)
  // when a name holds a line feed, which the file cannot carry, or the path
  // breaks the registry's limits (512 levels, names of 255 characters).
  [[nodiscard]] bool CreateKey(std::string_view path, KeyId* key, bool* created);
  [[nodiscard]] bool HasSubKeys(KeyId key) const;
  // Removes the key with its values (and any subkeys). Not the root.
  void DeleteKey(KeyId key);

  // Reads the values from the file the first time.
  [[nodiscard]] const std::vector<RegValue>& Values(KeyId key);
  [[nodiscard]] std::vector<std::string> SubKeyNames(KeyId key) const;
  // Creates the value or replaces it in place. False (nothing changed) when the
  // data does not fit the type (RegStoredFromText) or the name holds a line feed.
  [[nodiscard]] bool SetValue(KeyId key, const RegValue& value);
  // False when there is no such value.
  [[nodiscard]] bool DeleteValue(KeyId key, std::string_view name);
  // Removes every value, without reading them first.
  void ClearValues(KeyId key);

  // The hive as a "Windows Registry Editor Version 5.00" UTF-8 file, CRLF lines.
  [[nodiscard]] std::string Serialize() const;

 private:
  static constexpr RegFile::KeyId kRead = 0xFFFFFFFF;
  struct Key {
    std::string name{};
    KeyId parent = 0;
    std::vector<KeyId> children{};
    std::vector<RegValue> values{};  // once read
    RegFile::KeyId unread = kRead;   // else the key of file_ whose values are still to be read
    bool as_read = false;            // the values are those of `lines`, which are written
    std::string_view lines{};        // in file_ (RegFile::ValueLines)
  };
  void CopyKeys(const RegFile& file, bool keep_lines);
  [[nodiscard]] bool FindChild(KeyId parent, std::string_view name, KeyId* child) const;
  // The key's values, read now if they were not; `change` when they are about
  // to change, so that they are written from then on.
  std::vector<RegValue>& Read(KeyId key, bool change);
  [[nodiscard]] size_t SizeHint() const;

  std::shared_ptr<const RegFile> file_;  // null, or what `lines` point into
  std::vector<Key> keys_;
};

}  // namespace platform
