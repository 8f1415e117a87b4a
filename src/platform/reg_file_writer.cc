// RegTree: the whole hive in memory, changed and written back as a file.
#include <algorithm>
#include <utility>

#include "platform/reg_file.h"
#include "platform/reg_file_encoding.h"
#include "platform/reg_file_lines.h"
#include "platform/reg_value_line.h"

namespace platform {

RegTree::RegTree() : keys_(1) {}

RegTree::RegTree(const RegFile& file) : keys_(1) {
  keys_[kRoot].values = file.Values(RegFile::kRoot);
  std::vector<std::pair<RegFile::KeyId, KeyId>> pending{{RegFile::kRoot, kRoot}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    for (RegFile::KeyId child : file.SubKeys(from)) {
      const auto id = static_cast<KeyId>(keys_.size());
      keys_.push_back(Key{std::string(file.KeyName(child)), to, {}, file.Values(child)});
      keys_[to].children.push_back(id);
      pending.emplace_back(child, id);
    }
  }
}

bool RegTree::FindChild(KeyId parent, std::string_view name, KeyId* child) const {
  for (KeyId id : keys_[parent].children) {
    if (RegNamesEqual(keys_[id].name, name)) {
      *child = id;
      return true;
    }
  }
  return false;
}

bool RegTree::FindKey(std::string_view path, KeyId* key) const {
  KeyId found = kRoot;
  std::string_view name;
  while (reg::NextName(&path, &name)) {
    if (!FindChild(found, name, &found)) return false;
  }
  *key = found;
  return true;
}

bool RegTree::CreateKey(std::string_view path, KeyId* key, bool* created) {
  *created = false;
  if (path.find('\n') != std::string_view::npos || reg::CheckKeyPath(path) != nullptr) return false;
  KeyId found = kRoot;
  std::string_view name;
  while (reg::NextName(&path, &name)) {
    KeyId child = 0;
    if (!FindChild(found, name, &child)) {
      child = static_cast<KeyId>(keys_.size());
      keys_.push_back(Key{std::string(name), found, {}, {}});
      keys_[found].children.push_back(child);
      *created = true;
    }
    found = child;
  }
  *key = found;
  return true;
}

bool RegTree::HasSubKeys(KeyId key) const { return !keys_[key].children.empty(); }

void RegTree::DeleteKey(KeyId key) {
  if (key == kRoot) return;
  std::vector<KeyId>& siblings = keys_[keys_[key].parent].children;
  siblings.erase(std::remove(siblings.begin(), siblings.end(), key), siblings.end());
  keys_[key].children.clear();
  keys_[key].values.clear();
}

const std::vector<RegValue>& RegTree::Values(KeyId key) const { return keys_[key].values; }

std::vector<std::string> RegTree::SubKeyNames(KeyId key) const {
  std::vector<std::string> names;
  for (KeyId child : keys_[key].children) names.push_back(keys_[child].name);
  return names;
}

bool RegTree::SetValue(KeyId key, const RegValue& value) {
  std::string stored;
  if (value.name.find('\n') != std::string::npos ||
      !RegStoredFromText(value.type, value.data, &stored)) {
    return false;
  }
  RegValue normal{value.name, value.type, RegTextFromStored(value.type, stored)};
  for (RegValue& existing : keys_[key].values) {
    if (RegNamesEqual(existing.name, value.name)) {
      existing.type = normal.type;
      existing.data = std::move(normal.data);
      return true;
    }
  }
  keys_[key].values.push_back(std::move(normal));
  return true;
}

bool RegTree::DeleteValue(KeyId key, std::string_view name) {
  std::vector<RegValue>& values = keys_[key].values;
  for (auto it = values.begin(); it != values.end(); ++it) {
    if (RegNamesEqual(it->name, name)) {
      values.erase(it);
      return true;
    }
  }
  return false;
}

std::string RegTree::Serialize() const {
  std::string out(reg::kHeader5);
  out.append(reg::kLineEnd).append(reg::kLineEnd);
  std::string path(reg::kRootName);
  auto append_key = [&](KeyId key) {
    out.push_back('[');
    out.append(path).push_back(']');
    out.append(reg::kLineEnd);
    for (const RegValue& value : keys_[key].values) reg::AppendValueLine(value, &out);
    out.append(reg::kLineEnd);
  };
  if (!keys_[kRoot].values.empty()) append_key(kRoot);

  // Depth first in order, without recursion: a hostile file may nest very deep.
  struct Frame {
    KeyId key;
    size_t next_child;
    size_t path_size;
  };
  std::vector<Frame> stack{{kRoot, 0, path.size()}};
  while (!stack.empty()) {
    Frame& frame = stack.back();
    const Key& parent = keys_[frame.key];
    if (frame.next_child == parent.children.size()) {
      stack.pop_back();
      continue;
    }
    const KeyId child = parent.children[frame.next_child++];
    path.resize(frame.path_size);
    path.append("\\").append(keys_[child].name);
    append_key(child);
    stack.push_back({child, 0, path.size()});
  }
  return out;
}

}  // namespace platform
