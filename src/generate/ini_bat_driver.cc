// The files of one agent instance: the test-settings file first (its lines
// end the .ini file), then the .ini file and, once that is written, the .bat
// file. The two are replaced together: an agent started from a new .ini file
// beside an old .bat file would run with half of its settings.
#include "generate/agent_files.h"

#include <string>

#include "config/instance_files.h"
#include "platform/files.h"

namespace generate {

namespace {

struct KindWriters {
  int (*ini)(config::DbConfigList&, const config::DbConfig&, int);
  int (*bat)(config::DbConfigList&, const config::DbConfig&);
};

const KindWriters* WritersOf(int kind) {
  static const KindWriters kWriters[] = {
      {write_single_oracle_ini, write_single_oracle_bat},
      {write_single_sybase_ini, write_single_sybase_bat},
      {write_single_mssql_ini, write_single_mssql_bat},
  };
  return kind >= 1 && kind <= 3 ? &kWriters[kind - 1] : nullptr;
}

}  // namespace

int Generate_IniBatFiles(config::DbConfigList& list, int kind, const config::DbConfig& record,
                         int serviceNumber) {
  list.Output(1, "\nGenerating the .ini and .bat files for '%s'\n", record.getServerName().c_str());
  if (const int settings = Generate_VdbtsetIniFile(list, kind, record); settings != 0) {
    list.Output(1, "Failure generating temporary vdbtset file\n");
    return settings;
  }
  const KindWriters* writers = WritersOf(kind);
  if (writers == nullptr) return 10;
  const config::InstanceFileNames* names = config::InstanceFilesOf(kind);
  const std::string stem = list.GetEtcDir(config::kFormResolved) + "\\";
  const std::string ini_path = stem + names->ini_stem + record.getServerName() + ".ini";
  platform::FileSnapshot old_ini;
  if (const int status = old_ini.Take(ini_path); status != 0) {
    list.Output(1, "ERROR: File '%s' cannot be read, errno =%d\n", ini_path.c_str(), status);
    return 1;
  }
  list.Output(1, "\nGenerating .ini file\n");
  int result = writers->ini(list, record, serviceNumber);
  if (result == 0) {
    list.Output(1, "\nGenerating .bat file\n");
    result = writers->bat(list, record);
    if (result != 0) {
      const int restored = old_ini.Restore();
      list.Output(1, "File '%s' put back as it was: %s\n", ini_path.c_str(),
                  restored == 0 ? "done" : "failed");
    }
  }
  return result;
}

}  // namespace generate
