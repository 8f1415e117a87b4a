// Generation of the files an agent instance runs from: the instance .ini and
// .bat files of each server kind, the test-settings file vdbtset.ini whose
// lines end every instance .ini file, and the include file that lists the .ini
// files of all configured instances of a kind.
//
// Every generated line goes through DbConfigList::Output on its file's channel
// (2 .ini, 3 include file, 22 .bat) and every trace on channel 1. Each file is
// written beside its target and renamed over it once complete, so a failure
// at any moment leaves the old file or the new one, never a part of one.
//
// Not reentrant: the writers share the program-wide current file path.
#pragma once

#include <string>

#include "config/db_config.h"
#include "config/db_config_list.h"

namespace generate {

using support::Channel;
using support::ServerKind;

// Instance .ini writers: 0 written; 1 the file could not be opened (or not put
// in place) even after its directory was created; 2 its directory could not
// be created.
[[nodiscard]] int write_single_mssql_ini(config::DbConfigList& list, const config::DbConfig& record,
                                         int serviceNumber);
[[nodiscard]] int write_single_oracle_ini(config::DbConfigList& list,
                                          const config::DbConfig& record, int serviceNumber);
[[nodiscard]] int write_single_sybase_ini(config::DbConfigList& list,
                                          const config::DbConfig& record, int serviceNumber);

// Instance .bat writers, same results; the history directory of the instance
// is made afterwards and does not change the result.
[[nodiscard]] int write_single_mssql_bat(config::DbConfigList& list,
                                         const config::DbConfig& record);
[[nodiscard]] int write_single_oracle_bat(config::DbConfigList& list,
                                          const config::DbConfig& record);
[[nodiscard]] int write_single_sybase_bat(config::DbConfigList& list,
                                          const config::DbConfig& record);

// The Informix writers cover the list's Informix records 0 to count - 1 in one
// call: the count when every file was written, 0 at the first file that could
// not be created or opened. After each file the home directory's regcopy
// program is run; its result is ignored.
[[nodiscard]] int write_informix_ini_files(config::DbConfigList& list, int count);
[[nodiscard]] int write_informix_bat_files(config::DbConfigList& list, int count);

// The .ini and .bat files of one instance of kind 1 to 3: 0 both written; the
// non-zero result of Generate_VdbtsetIniFile; the result of the .ini writer or
// of the .bat writer; 10 for another kind.
[[nodiscard]] int Generate_IniBatFiles(config::DbConfigList& list, ServerKind kind,
                                       const config::DbConfig& record, int serviceNumber);

// Makes sure the test-settings file exists in the etc directory, copying it
// from the kind's management-agent file when it does not: 0; -1 unknown kind
// or unreadable source; -2 the file cannot be created.
[[nodiscard]] int Generate_VdbtsetIniFile(config::DbConfigList& list, ServerKind kind,
                                          const config::DbConfig& record);

// Copies every "[Local Settings]" section of `source` up to its first empty
// line, without history-directory settings, to `target`: 0; -1 the source
// cannot be opened; -2 the target cannot be created.
[[nodiscard]] int CopyLocalSettings(config::DbConfigList& list, const std::string& source,
                                    const std::string& target);

// Rewrites the kind's include file from the list: 0 written; 1 unknown kind;
// 2 the file cannot be opened for writing (or not put in place).
[[nodiscard]] int Generate_IniIncFile(config::DbConfigList& list, ServerKind kind);

}  // namespace generate
