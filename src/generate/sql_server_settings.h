// The SQL Server collector's settings that an instance's .ini file and its
// .bat file both carry, each file in its own syntax.
#pragma once

#include "config/db_config.h"
#include "config/db_config_list.h"
#include "support/config_log.h"

namespace generate {

using support::Channel;
using support::ServerKind;

struct SettingSyntax {
  support::Channel channel;
  const char* prefix;         // before the key: "SET " in a .bat file
  const char* computer_name;  // how the file refers to the computer's name
  bool batch;                 // values escaped for cmd.exe (BatText)
};

inline constexpr SettingSyntax kIniSyntax = {support::Channel::kIni, "", "@COMPUTERNAME@", false};
inline constexpr SettingSyntax kBatSyntax = {support::Channel::kBat, "SET ", "%COMPUTERNAME%",
                                             true};

// The service point, which tells a named instance's agent apart from the
// default instance's, then the databases to watch and the table-detail and
// error-log limits.
void WriteSqlServerTuning(config::DbConfigList& list, const SettingSyntax& syntax,
                          const config::DbConfig& record);

}  // namespace generate
