// The "Override Local Settings" section of a SQL Server instance .ini file:
// the one part of the file that the site edits and that must survive its
// regeneration.
#pragma once

#include <memory>
#include <string>

#include "config/db_config_list.h"

namespace generate {

using support::Channel;
using support::ServerKind;

inline constexpr const char* kOverrideSection = "Override Local Settings";

// The section's entries in the profile functions' "key=value\0...\0\0" form;
// null when there is none (no file, no section, no entries, no memory).
[[nodiscard]] std::unique_ptr<char[]> SaveOverrideSection(config::DbConfigList& list,
                                                          const std::string& path);

// Writes saved entries as the section of the file `path` (appended at its end).
void RestoreOverrideSection(const char* entries, const std::string& path);

}  // namespace generate
