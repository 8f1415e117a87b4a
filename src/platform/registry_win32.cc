// The registry on Windows: the registry API under HKEY_LOCAL_MACHINE. Values
// are converted to and from the text form of registry.h (reg_value_text.h holds
// the conversion, shared with the file-backed registry).
#include <windows.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "platform/reg_value_text.h"
#include "platform/registry.h"

namespace platform {
namespace {

// Buffers grow on ERROR_MORE_DATA; a value changing size under us between two
// calls is retried this many times before the status is passed on.
constexpr int kMaxAttempts = 16;

BYTE* Bytes(std::string* buffer) { return reinterpret_cast<BYTE*>(buffer->data()); }

class Win32Key final : public RegistryKey {
 public:
  explicit Win32Key(HKEY key) : key_(key) {}
  ~Win32Key() override { RegCloseKey(key_); }
  Win32Key(const Win32Key&) = delete;
  Win32Key& operator=(const Win32Key&) = delete;

  long EnumValue(uint32_t index, RegValue* value) override {
    // The sizes are asked for when an enumeration starts, not for every value:
    // each call is a round trip to the registry's server under Wine. A value
    // grown since is met by the retries below.
    LONG status = ERROR_SUCCESS;
    if (index == 0 || !sized_) {
      status = RegQueryInfoKeyA(key_, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                &longest_name_, &longest_data_, nullptr, nullptr);
      if (status != ERROR_SUCCESS) return status;
      sized_ = true;
    }
    // The longest name is counted in UTF-16 units; an ANSI name may need more bytes.
    std::string name(static_cast<size_t>(longest_name_) * 2 + 2, '\0');
    std::string data(std::max<DWORD>(longest_data_, 1), '\0');
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
      DWORD name_size = static_cast<DWORD>(name.size());
      DWORD data_size = static_cast<DWORD>(data.size());
      DWORD type = REG_NONE;
      status = RegEnumValueA(key_, index, name.data(), &name_size, nullptr, &type, Bytes(&data),
                             &data_size);
      if (status == ERROR_MORE_DATA) {
        name.resize(name.size() * 2);
        data.resize(std::max<size_t>(data.size() * 2, data_size));
        continue;
      }
      if (status != ERROR_SUCCESS) return status;
      value->name.assign(name.data(), name_size);
      value->type = type;
      value->data = RegTextFromStored(type, std::string_view(data.data(), data_size));
      return kRegSuccess;
    }
    return status;
  }

  long EnumSubKey(uint32_t index, std::string* name) override {
    std::string buffer(256, '\0');  // key names have at most 255 characters
    LONG status = ERROR_MORE_DATA;
    for (int attempt = 0; attempt < kMaxAttempts && status == ERROR_MORE_DATA; ++attempt) {
      DWORD size = static_cast<DWORD>(buffer.size());
      status = RegEnumKeyExA(key_, index, buffer.data(), &size, nullptr, nullptr, nullptr, nullptr);
      if (status == ERROR_SUCCESS) name->assign(buffer.data(), size);
      if (status == ERROR_MORE_DATA) buffer.resize(buffer.size() * 2);
    }
    return status;
  }

  long QueryValue(const std::string& name, RegValue* value) override {
    std::string data(256, '\0');
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
      DWORD size = static_cast<DWORD>(data.size());
      DWORD type = REG_NONE;
      const LONG status = RegQueryValueExA(key_, name.c_str(), nullptr, &type, Bytes(&data), &size);
      if (status == ERROR_MORE_DATA) {
        data.resize(std::max<size_t>(data.size() * 2, size));
        continue;
      }
      if (status != ERROR_SUCCESS) return status;
      value->name = name;
      value->type = type;
      value->data = RegTextFromStored(type, std::string_view(data.data(), size));
      return kRegSuccess;
    }
    return kRegMoreData;
  }

  long SetValue(const std::string& name, uint32_t type, const std::string& data) override {
    std::string stored;
    if (!RegStoredFromText(type, data, &stored)) return kRegInvalidParameter;
    return RegSetValueExA(key_, name.c_str(), 0, type, Bytes(&stored),
                          static_cast<DWORD>(stored.size()));
  }

  long DeleteValue(const std::string& name) override { return RegDeleteValueA(key_, name.c_str()); }

 private:
  HKEY key_;
  bool sized_ = false;  // the longest name and data of the key are known
  DWORD longest_name_ = 0;
  DWORD longest_data_ = 0;
};

class Win32Registry final : public Registry {
 public:
  Win32Registry(HKEY hive, bool owned) : hive_(hive), owned_(owned) {}
  ~Win32Registry() override {
    if (owned_) RegCloseKey(hive_);
  }
  Win32Registry(const Win32Registry&) = delete;
  Win32Registry& operator=(const Win32Registry&) = delete;

  long OpenKey(const std::string& path, uint32_t access,
               std::unique_ptr<RegistryKey>* key) override {
    HKEY opened = nullptr;
    const LONG status = RegOpenKeyExA(hive_, path.c_str(), 0, access, &opened);
    if (status == ERROR_SUCCESS) *key = std::make_unique<Win32Key>(opened);
    return status;
  }

  long CreateKey(const std::string& path, uint32_t access,
                 std::unique_ptr<RegistryKey>* key) override {
    HKEY created = nullptr;
    const LONG status = RegCreateKeyExA(hive_, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                        access, nullptr, &created, nullptr);
    if (status == ERROR_SUCCESS) *key = std::make_unique<Win32Key>(created);
    return status;
  }

  long DeleteKey(const std::string& path, uint32_t access) override {
    return RegDeleteKeyExA(hive_, path.c_str(), access & (KEY_WOW64_64KEY | KEY_WOW64_32KEY), 0);
  }

  long DeleteTree(const std::string& path) override {
    if (path.empty()) return kRegAccessDenied;  // never the hive itself
    return RegDeleteTreeA(hive_, path.c_str());
  }

  long ReplaceValues(const std::string& path, const std::vector<RegValue>& values) override {
    std::vector<std::string> stored(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      if (!RegStoredFromText(values[i].type, values[i].data, &stored[i])) {
        return kRegInvalidParameter;
      }
    }
    HKEY key = nullptr;
    LONG status = RegCreateKeyExA(hive_, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                  KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) return status;
    const Win32Key owner(key);  // closes it on every path
    // Deleting shifts the indexes down: the first value is always the next one.
    std::string name(32768, '\0');  // names have at most 16,383 characters
    for (;;) {
      DWORD size = static_cast<DWORD>(name.size());
      status = RegEnumValueA(key, 0, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
      if (status == ERROR_NO_MORE_ITEMS) break;
      if (status != ERROR_SUCCESS) return status;
      status = RegDeleteValueA(key, std::string(name.data(), size).c_str());
      if (status != ERROR_SUCCESS) return status;
    }
    for (size_t i = 0; i < values.size(); ++i) {
      status = RegSetValueExA(key, values[i].name.c_str(), 0, values[i].type, Bytes(&stored[i]),
                              static_cast<DWORD>(stored[i].size()));
      if (status != ERROR_SUCCESS) return status;
    }
    return kRegSuccess;
  }

 private:
  HKEY hive_;
  bool owned_;  // a remote hive is closed; the predefined local one is not
};

}  // namespace

void UseRegistryFile(std::string /*path: the machine's registry is used*/) {}

long Registry::Connect(const std::string& machine, std::unique_ptr<Registry>* hive) {
  if (machine.empty()) {
    *hive = std::make_unique<Win32Registry>(HKEY_LOCAL_MACHINE, false);
    return kRegSuccess;
  }
  const std::string unc = machine.rfind("\\\\", 0) == 0 ? machine : "\\\\" + machine;
  HKEY remote = nullptr;
  const LONG status = RegConnectRegistryA(unc.c_str(), HKEY_LOCAL_MACHINE, &remote);
  if (status == ERROR_SUCCESS) *hive = std::make_unique<Win32Registry>(remote, true);
  return status;
}

}  // namespace platform
