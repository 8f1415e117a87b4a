// RegFile's keys: building the key tree while a file is indexed, and finding
// a key by its path. See use_table_ in reg_file.h for the two ways a child is
// found by name.
#include <algorithm>
#include <cstring>

#include "platform/reg_file.h"

namespace platform {
namespace {

// The number of leading bytes that `a` and `b` share, compared a word at a time.
size_t CommonPrefix(std::string_view a, std::string_view b) {
  const size_t limit = std::min(a.size(), b.size());
  size_t common = 0;
  for (uint64_t x, y; common + 8 <= limit; common += 8) {
    std::memcpy(&x, a.data() + common, 8);
    std::memcpy(&y, b.data() + common, 8);
    if (x != y) break;
  }
  while (common < limit && a[common] == b[common]) ++common;
  return common;
}

uint64_t HashName(uint32_t parent, std::string_view name) {
  uint64_t hash = 0xcbf29ce484222325ull ^ (parent * 0x9e3779b97f4a7c15ull);
  for (char c : name) {
    hash ^= static_cast<unsigned char>(reg::FoldCase(c));
    hash *= 0x100000001b3ull;
  }
  return hash ^ (hash >> 29);
}

}  // namespace

std::string_view RegFile::NameOf(KeyId key) const {
  return text_.substr(nodes_[key].name_offset, nodes_[key].name_size);
}

uint32_t RegFile::HashOf(KeyId key) const {
  return static_cast<uint32_t>(HashName(nodes_[key].parent, NameOf(key)));
}

RegFile::KeyId RegFile::FindChild(KeyId parent, std::string_view name) const {
  if (use_table_) {
    const size_t mask = table_.size() - 1;
    const auto hash = static_cast<uint32_t>(HashName(parent, name));
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
      const Slot& slot = table_[i];
      if (slot.entry == 0) return kNone;
      if (slot.hash == hash && nodes_[slot.entry - 1].parent == parent &&
          RegNamesEqual(NameOf(slot.entry - 1), name)) {
        return slot.entry - 1;
      }
    }
  }
  if (child_start_.empty()) return kNone;  // still indexing: no key was listed yet
  // The children are in name order (see use_table_).
  const KeyId* first = children_.data() + child_start_[parent];
  const KeyId* last = children_.data() + child_start_[parent + 1];
  const KeyId* found =
      std::lower_bound(first, last, name, [&](KeyId child, std::string_view wanted) {
        return reg::CompareNames(NameOf(child), wanted) < 0;
      });
  return found != last && RegNamesEqual(NameOf(*found), name) ? *found : kNone;
}

// Turns from sorted child lists to the hash table, for the rest of the file.
void RegFile::StartTable() {
  use_table_ = true;
  size_t capacity = 64;
  while (capacity < nodes_.size() * 2) capacity *= 2;
  table_.assign(capacity, Slot{});
  for (KeyId key = 1; key < nodes_.size(); ++key) {
    if (nodes_[key].alive) Insert(key);
  }
}

void RegFile::Insert(KeyId key) {
  if ((nodes_.size() + 1) * 2 > table_.size()) {
    table_.assign(table_.size() * 2, Slot{});
    for (KeyId other = 1; other < key; ++other) {
      if (nodes_[other].alive) Insert(other);
    }
  }
  const size_t mask = table_.size() - 1;
  const uint32_t hash = HashOf(key);
  size_t i = hash & mask;
  while (table_[i].entry != 0) i = (i + 1) & mask;
  table_[i] = Slot{hash, key + 1};
}

// Takes the key out of the table, shifting later entries of its probe run back
// so that no lookup has to step over the keys a file deleted.
void RegFile::Unlist(KeyId key) {
  const size_t mask = table_.size() - 1;
  size_t hole = HashOf(key) & mask;
  while (table_[hole].entry != key + 1) hole = (hole + 1) & mask;
  table_[hole] = Slot{};
  for (size_t next = (hole + 1) & mask; table_[next].entry != 0; next = (next + 1) & mask) {
    const size_t home = table_[next].hash & mask;
    // An entry stays when its home lies cyclically in (hole, next].
    const bool stays = hole <= next ? (hole < home && home <= next) : (hole < home || home <= next);
    if (stays) continue;
    table_[hole] = table_[next];
    table_[next] = Slot{};
    hole = next;
  }
}

// The children of every key, by key, in the order they were added (name order).
void RegFile::ListChildren() {
  child_start_.assign(nodes_.size() + 1, 0);
  for (KeyId key = 1; key < nodes_.size(); ++key) ++child_start_[nodes_[key].parent + 1];
  for (size_t i = 1; i < child_start_.size(); ++i) child_start_[i] += child_start_[i - 1];
  children_.resize(nodes_.size() - 1);
  std::vector<uint32_t> next(child_start_.begin(), child_start_.end() - 1);
  for (KeyId key = 1; key < nodes_.size(); ++key) children_[next[nodes_[key].parent]++] = key;
}

RegFile::KeyId RegFile::AddChild(KeyId parent, std::string_view name, bool in_order) {
  const auto key = static_cast<KeyId>(nodes_.size());
  Node node;
  node.name_offset = static_cast<uint32_t>(name.data() - text_.data());
  node.name_size = static_cast<uint16_t>(name.size());
  node.parent = parent;
  nodes_.push_back(node);
  Node& up = nodes_[parent];
  up.sorted = up.sorted && in_order;
  if (up.last_child == kNone) {
    up.first_child = key;
  } else {
    nodes_[up.last_child].next_sibling = key;
  }
  up.last_child = key;
  if (use_table_) Insert(key);
  return key;
}

// Exported files list keys in tree order, so most headers repeat the path of
// the previous one up to its last name: the keys of the names that end inside
// the repeated bytes are taken from last_path_. And they list subkeys in name
// order, so a new name after the last child is known to be new without a lookup.
const char* RegFile::CreatePath(std::string_view path, KeyId* key) {
  const size_t common = CommonPrefix(path, last_header_);
  KeyId found = kRoot;
  size_t depth = 0;
  size_t offset = 0;
  while (depth < last_path_.size() && last_path_[depth].end < common) {
    found = last_path_[depth].key;
    offset = last_path_[depth].end + 1;
    ++depth;
  }

  std::string_view rest = path.substr(offset);
  std::string_view name;
  while (reg::NextName(&rest, &name)) {
    const auto begin = static_cast<uint32_t>(name.data() - path.data());
    const auto end = static_cast<uint32_t>(begin + name.size());
    if (depth < last_path_.size() &&
        RegNamesEqual(last_header_.substr(last_path_[depth].begin,
                                          last_path_[depth].end - last_path_[depth].begin),
                      name)) {
      found = last_path_[depth].key;  // the same name spelled otherwise
    } else {
      if (depth >= reg::kMaxDepth) return reg::kTooDeep;
      if (const char* message = reg::CheckKeyName(name)) return message;
      last_path_.resize(depth);
      found = FindOrAddChild(found, name);
      last_path_.push_back({found, begin, end});
    }
    last_path_[depth].begin = begin;  // now relative to this header
    last_path_[depth].end = end;
    ++depth;
  }
  last_path_.resize(depth);
  last_header_ = path;
  *key = found;
  return nullptr;
}

// A new name after the last child of a key whose children all came in order
// needs no lookup; any other name is looked up in the hash table.
RegFile::KeyId RegFile::FindOrAddChild(KeyId parent, std::string_view name) {
  const Node& up = nodes_[parent];
  const bool in_order =
      up.last_child == kNone || reg::CompareNames(NameOf(up.last_child), name) < 0;
  KeyId child = kNone;
  if (!in_order || !up.sorted) {
    if (!use_table_) StartTable();
    child = FindChild(parent, name);
  }
  return child != kNone ? child : AddChild(parent, name, in_order);
}

void RegFile::DeletePath(std::string_view path) {
  if (!use_table_) StartTable();
  KeyId key = kRoot;
  std::string_view name;
  while (reg::NextName(&path, &name)) {
    key = FindChild(key, name);
    if (key == kNone) return;
  }
  if (key == kRoot) return;   // the root itself stays
  nodes_[key].alive = false;  // its subtree is reached through it only
  Unlist(key);
  last_path_.clear();
  last_header_ = {};
}

bool RegFile::FindKey(std::string_view path, KeyId* key) const {
  KeyId found = kRoot;
  std::string_view name;
  while (reg::NextName(&path, &name)) {
    found = FindChild(found, name);
    if (found == kNone) return false;
  }
  *key = found;
  return true;
}

}  // namespace platform
