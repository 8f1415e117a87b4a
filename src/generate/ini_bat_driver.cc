// The files of one agent instance: the test-settings file first (its lines
// end the .ini file), then the .ini file and, once that is written, the .bat
// file.
#include "generate/agent_files.h"

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
  list.Output(1, "\nGenerating .ini file\n");
  int result = writers->ini(list, record, serviceNumber);
  if (result == 0) {
    list.Output(1, "\nGenerating .bat file\n");
    result = writers->bat(list, record);
  }
  return result;
}

}  // namespace generate
