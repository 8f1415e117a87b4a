// Key paths and names of the registry file. Paths are backslash-separated
// names relative to HKEY_LOCAL_MACHINE (empty names are skipped); names compare
// without regard to the case of ASCII letters; the registry's limits on depth
// and name length hold.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// True when the names are equal without regard to the case of ASCII letters.
[[nodiscard]] bool RegNamesEqual(std::string_view a, std::string_view b);

namespace reg {

inline constexpr std::string_view kRootName = "HKEY_LOCAL_MACHINE";
// The limits of the Windows registry. They also bound what a file can make a
// writer produce: every key is written with its full path.
inline constexpr size_t kMaxDepth = 512;
inline constexpr size_t kMaxNameCharacters = 255;
inline constexpr const char* kTooDeep = "key nested deeper than 512 levels";

[[nodiscard]] inline char FoldCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
// The name with its ASCII letters in small case: equal for names RegNamesEqual.
[[nodiscard]] std::string FoldName(std::string_view name);
// Orders names as the registry enumerates them: ASCII letters as capitals.
[[nodiscard]] int CompareNames(std::string_view a, std::string_view b);

// Takes the next non-empty name off `*path`; false when none is left.
[[nodiscard]] bool NextName(std::string_view* path, std::string_view* name);
// Removes the HKEY_LOCAL_MACHINE root (or HKLM) from a key path of the file;
// false for other roots.
[[nodiscard]] bool StripLocalMachine(std::string_view* path);
// Null when the name keeps the registry's limit, else what is wrong.
[[nodiscard]] const char* CheckKeyName(std::string_view name);
// Null when the key path keeps the registry's limits, else what is wrong.
[[nodiscard]] const char* CheckKeyPath(std::string_view path);

}  // namespace reg
}  // namespace platform
