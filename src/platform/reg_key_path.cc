#include "platform/reg_key_path.h"

#include <algorithm>
#include <cstring>

namespace platform {

bool RegNamesEqual(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && reg::FoldCase(a[i]) != reg::FoldCase(b[i])) return false;
  }
  return true;
}

namespace reg {
namespace {

constexpr std::string_view kRootShortName = "HKLM";
constexpr size_t kMaxNameBytes = 4 * kMaxNameCharacters;

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

std::string FoldName(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) c = FoldCase(c);
  return folded;
}

int CompareNames(std::string_view a, std::string_view b) {
  const size_t size = std::min(a.size(), b.size());
  for (size_t i = 0; i < size; ++i) {
    const auto x = static_cast<unsigned char>(UpperCase(a[i]));
    const auto y = static_cast<unsigned char>(UpperCase(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

bool NextName(std::string_view* path, std::string_view* name) {
  while (!path->empty()) {
    size_t end = 0;
    if (path->size() > 16) {  // a library search pays off
      const void* found = std::memchr(path->data(), '\\', path->size());
      end = found != nullptr ? static_cast<size_t>(static_cast<const char*>(found) - path->data())
                             : path->size();
    } else {  // a plain loop is cheaper than the call
      while (end < path->size() && (*path)[end] != '\\') ++end;
    }
    *name = path->substr(0, end);
    path->remove_prefix(end == path->size() ? end : end + 1);
    if (!name->empty()) return true;
  }
  return false;
}

bool StripLocalMachine(std::string_view* path) {
  static constexpr std::string_view kExported = "HKEY_LOCAL_MACHINE\\";  // as exported
  if (path->size() >= kExported.size() &&
      std::memcmp(path->data(), kExported.data(), kExported.size()) == 0) {
    path->remove_prefix(kExported.size());
    return true;
  }
  size_t end = path->find('\\');
  std::string_view root = path->substr(0, end);
  if (!RegNamesEqual(root, kRootName) && !RegNamesEqual(root, kRootShortName)) return false;
  path->remove_prefix(end == std::string_view::npos ? path->size() : end + 1);
  return true;
}

const char* CheckKeyName(std::string_view name) {
  if (name.size() <= kMaxNameCharacters) return nullptr;
  size_t characters = 0;  // UTF-8 lead bytes
  for (char c : name) characters += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  if (characters > kMaxNameCharacters || name.size() > kMaxNameBytes) {
    return "key name longer than 255 characters";
  }
  return nullptr;
}

const char* CheckKeyPath(std::string_view path) {
  size_t depth = 0;
  std::string_view name;
  while (NextName(&path, &name)) {
    if (++depth > kMaxDepth) return kTooDeep;
    if (const char* message = CheckKeyName(name)) return message;
  }
  return nullptr;
}

}  // namespace reg
}  // namespace platform
