// Registry reads as discovery makes them: keys opened for querying values with
// the scan's access options, values found by enumeration with the names
// compared without regard to case, into buffers of fixed sizes. A value whose
// name or data does not fit its buffer ends an enumeration, as it does on
// Windows (kRegMoreData).
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/registry.h"

namespace discovery {

inline constexpr size_t kNameBuffer = 256;
inline constexpr size_t kDataBuffer = 256;
inline constexpr size_t kLongDataBuffer = 2048;

// Opens `path` with KEY_QUERY_VALUE and `options`; null when it does not open.
[[nodiscard]] std::unique_ptr<platform::RegistryKey> openForValues(platform::Registry* hive,
                                                                   const std::string& path,
                                                                   uint32_t options);

// The value at `index`, or kRegMoreData when it does not fit the buffers.
[[nodiscard]] long enumValue(platform::RegistryKey& key, uint32_t index, size_t dataBuffer,
                             platform::RegValue* value);

// The data of the first value named `name` (without regard to case) met before
// an enumeration call fails.
[[nodiscard]] bool findValue(platform::RegistryKey& key, const char* name, size_t dataBuffer,
                             std::string* data);

// The text without white space at either end.
[[nodiscard]] std::string trimmed(const std::string& text);

}  // namespace discovery
