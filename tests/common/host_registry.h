// Puts the registry of a test host in place: .reg text whose keys lie under
// HKEY_LOCAL_MACHINE\Software (the SQL Server, Oracle, Sybase and product keys).
#pragma once

#include <string>

namespace sqxa_test {

// With the file-backed registry: the text becomes the registry file. With the
// Win32 registry: the database keys of earlier hosts are deleted and the text
// imported. The host is 64-bit when the text (or, under Wine, the prefix) has
// "Software\Wow6432Node".
[[nodiscard]] bool LoadHost(const std::string& regText);

// The text as a .reg string value ("\" doubled).
[[nodiscard]] std::string RegEscape(const std::string& text);

}  // namespace sqxa_test
