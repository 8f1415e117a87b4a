// Puts the registry of a test host in place: .reg text whose keys lie under
// HKEY_LOCAL_MACHINE\Software.
#pragma once

#include <string>

namespace sqxa_test {

// File-backed registry: the text becomes the registry file, named to children
// by MARLOX_REGISTRY. Win32 registry: the keys of earlier hosts are deleted and
// the text imported. The host is 64-bit when the text (or, under Wine, the
// prefix) has Software\Wow6432Node.
[[nodiscard]] bool LoadHost(const std::string& regText);

// The text as a .reg string value ("\" and '"' escaped).
[[nodiscard]] inline std::string RegEscape(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    if (c == '\\' || c == '"') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace sqxa_test
