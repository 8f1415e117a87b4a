#include "discovery/registry_lookup.h"

#include "support/strings.h"

namespace discovery {

namespace {

// The bytes a value takes in the registry: text with its final zero.
size_t StoredSize(const platform::RegValue& value) {
  switch (value.type) {
    case platform::kRegSz:
    case platform::kRegExpandSz:
    case platform::kRegMultiSz:
      return value.data.size() + 1;
    case platform::kRegDword:
      return 4;
    case platform::kRegQword:
      return 8;
    default:
      return value.data.size();
  }
}

}  // namespace

std::unique_ptr<platform::RegistryKey> openForValues(platform::Registry* hive,
                                                     const std::string& path, uint32_t options) {
  std::unique_ptr<platform::RegistryKey> key;
  if (hive == nullptr ||
      hive->OpenKey(path, platform::kKeyQueryValue | options, &key) != platform::kRegSuccess) {
    return nullptr;
  }
  return key;
}

long enumValue(platform::RegistryKey& key, uint32_t index, size_t dataBuffer,
               platform::RegValue* value) {
  const long status = key.EnumValue(index, value);
  if (status != platform::kRegSuccess) return status;
  if (value->name.size() >= kNameBuffer || StoredSize(*value) > dataBuffer) {
    return platform::kRegMoreData;
  }
  // What a reader of the data buffer sees ends at its first zero byte.
  if (value->type != platform::kRegBinary) value->data = value->data.c_str();
  return platform::kRegSuccess;
}

bool findValue(platform::RegistryKey& key, const char* name, size_t dataBuffer, std::string* data) {
  platform::RegValue value;
  for (uint32_t i = 0; enumValue(key, i, dataBuffer, &value) == platform::kRegSuccess; ++i) {
    if (str_icmp(value.name.c_str(), name) == 0) {
      *data = value.data;
      return true;
    }
  }
  return false;
}

std::string trimmed(const std::string& text) {
  constexpr const char* kWhite = " \t\r\n\f\v";
  const size_t first = text.find_first_not_of(kWhite);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhite) - first + 1);
}

}  // namespace discovery
