// RegTree: the whole hive in memory, changed and written back as a file.
#include <algorithm>
#include <utility>

#include "platform/reg_file.h"
#include "platform/reg_file_encoding.h"
#include "platform/reg_file_lines.h"
#include "platform/reg_value_line.h"

namespace platform {

RegTree::RegTree() : keys_(1) {}

RegTree::RegTree(const RegFile& file) : keys_(1) { CopyKeys(file, false); }

RegTree::RegTree(std::shared_ptr<const RegFile> file) : file_(std::move(file)), keys_(1) {
  CopyKeys(*file_, true);
}

// The keys whose value lines cannot be written back as they are (see
// RegFile::ValueLines) are read now, so that Serialize stays a reader.
void RegTree::CopyKeys(const RegFile& file, bool keep_lines) {
  keys_[kRoot].values = file.Values(RegFile::kRoot);  // written only when there are some
  std::vector<std::pair<RegFile::KeyId, KeyId>> pending{{RegFile::kRoot, kRoot}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    for (RegFile::KeyId child : file.SubKeys(from)) {
      const auto id = static_cast<KeyId>(keys_.size());
      Key& key = keys_.emplace_back(Key{.name = std::string(file.KeyName(child)), .parent = to});
      if (keep_lines && file.ValueLines(child, &key.lines)) {
        key.unread = child;
        key.as_read = true;
      } else {
        key.values = file.Values(child);
      }
      keys_[to].children.push_back(id);
      pending.emplace_back(child, id);
    }
  }
}

std::vector<RegValue>& RegTree::Read(KeyId key, bool change) {
  Key& found = keys_[key];
  if (found.unread != kRead) {
    found.values = file_->Values(found.unread);
    found.unread = kRead;
  }
  if (change) found.as_read = false;
  return found.values;
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
      keys_.push_back(Key{.name = std::string(name), .parent = found});
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
  ClearValues(key);
}

const std::vector<RegValue>& RegTree::Values(KeyId key) { return Read(key, false); }

void RegTree::ClearValues(KeyId key) {
  Key& found = keys_[key];
  found.values.clear();
  found.unread = kRead;
  found.as_read = false;
}

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
  std::vector<RegValue>& values = Read(key, true);
  for (RegValue& existing : values) {
    if (RegNamesEqual(existing.name, value.name)) {
      existing.type = normal.type;
      existing.data = std::move(normal.data);
      return true;
    }
  }
  values.push_back(std::move(normal));
  return true;
}

bool RegTree::DeleteValue(KeyId key, std::string_view name) {
  std::vector<RegValue>& values = Read(key, false);
  for (auto it = values.begin(); it != values.end(); ++it) {
    if (RegNamesEqual(it->name, name)) {
      values.erase(it);
      keys_[key].as_read = false;
      return true;
    }
  }
  return false;
}

// About the size of what Serialize writes, so that it is built without being
// copied over as it grows: exact for the keys written as read. A parent comes
// before its subkeys in keys_.
size_t RegTree::SizeHint() const {
  std::vector<size_t> path(keys_.size(), reg::kRootName.size());
  size_t size = reg::kHeader5.size() + 2 * reg::kLineEnd.size();
  for (KeyId id = 0; id < keys_.size(); ++id) {
    const Key& key = keys_[id];
    if (id != kRoot) path[id] = path[key.parent] + 1 + key.name.size();
    size += path[id] + 2 + 2 * reg::kLineEnd.size();
    if (key.as_read) {
      size += key.lines.size();
      continue;
    }
    for (const RegValue& value : key.values) size += value.name.size() + 3 * value.data.size() + 16;
  }
  return size;
}

std::string RegTree::Serialize() const {
  std::string out;
  out.reserve(SizeHint());
  out.append(reg::kHeader5);
  out.append(reg::kLineEnd).append(reg::kLineEnd);
  std::string path(reg::kRootName);
  auto append_key = [&](KeyId key) {
    out.push_back('[');
    out.append(path).push_back(']');
    out.append(reg::kLineEnd);
    if (keys_[key].as_read) {
      out.append(keys_[key].lines);
    } else {
      for (const RegValue& value : keys_[key].values) reg::AppendValueLine(value, &out);
    }
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
