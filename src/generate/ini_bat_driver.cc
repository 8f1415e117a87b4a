// The files of one agent instance: the test-settings file first (its lines
// end the .ini file), then the .ini file and, once that is written, the .bat
// file. The two are replaced together: an agent started from a new .ini file
// beside an old .bat file would run with half of its settings.
#include "generate/agent_files.h"

#include <string>

#include "platform/files.h"
#include "support/server_kind.h"

namespace generate {

namespace {

// The writers of each kind whose instances are written one at a time.
struct KindWriters {
  ServerKind kind;
  int (*ini)(config::DbConfigList&, const config::DbConfig&, int);
  int (*bat)(config::DbConfigList&, const config::DbConfig&);
};

const KindWriters* WritersOf(ServerKind kind) {
  static const KindWriters kWriters[] = {
      {ServerKind::kOracle, write_single_oracle_ini, write_single_oracle_bat},
      {ServerKind::kSybase, write_single_sybase_ini, write_single_sybase_bat},
      {ServerKind::kSqlServer, write_single_mssql_ini, write_single_mssql_bat},
  };
  for (const KindWriters& writers : kWriters) {
    if (writers.kind == kind) return &writers;
  }
  return nullptr;
}

}  // namespace

int Generate_IniBatFiles(config::DbConfigList& list, ServerKind kind,
                         const config::DbConfig& record, int serviceNumber) {
  list.Output(Channel::kLog, "\nGenerating the .ini and .bat files for '%s'\n",
              record.getServerName().c_str());
  if (const int settings = Generate_VdbtsetIniFile(list, kind, record); settings != 0) {
    list.Output(Channel::kLog, "Failure generating temporary vdbtset file\n");
    return settings;
  }
  const KindWriters* writers = WritersOf(kind);
  if (writers == nullptr) return 10;
  const support::KindNames* names = support::NamesOf(kind);
  const std::string ini_path =
      list.GetEtcDir(config::PathForm::kResolved) + "\\" + names->IniFile(record.getServerName());
  platform::FileSnapshot old_ini;
  if (const int status = old_ini.Take(ini_path); status != 0) {
    list.Output(Channel::kLog, "ERROR: File '%s' cannot be read, errno =%d\n", ini_path.c_str(),
                status);
    return 1;
  }
  list.Output(Channel::kLog, "\nGenerating .ini file\n");
  int result = writers->ini(list, record, serviceNumber);
  if (result == 0) {
    list.Output(Channel::kLog, "\nGenerating .bat file\n");
    result = writers->bat(list, record);
    if (result != 0) {
      const int restored = old_ini.Restore();
      list.Output(Channel::kLog, "File '%s' put back as it was: %s\n", ini_path.c_str(),
                  restored == 0 ? "done" : "failed");
    }
  }
  return result;
}

}  // namespace generate
