#include "generate/bat_blocks.h"

#include "generate/bat_text.h"
#include "generate/channel_file.h"
#include "generate/create_dir.h"
#include "support/config_log.h"

namespace generate {

std::string HistoryDir(config::DbConfigList& list, const char* tag, const std::string& server) {
  return list.GetEtcDir(config::PathForm::kResolved) + "\\logs\\History\\" + tag + "\\" + server;
}

void MakeHistoryDir(config::DbConfigList& list, const std::string& directory) {
  list.Output(Channel::kLog, "\nCheck MTIRA_HIST_DIR '%s'\n", directory.c_str());
  // The trailing backslash makes create_dir take the last component as a
  // directory too.
  if (create_dir(list, directory + "\\") != 0) {
    list.Output(Channel::kLog, "MTIRA_HIST_DIR[%s] is created successfully\n", directory.c_str());
  } else {
    list.Output(Channel::kLog, "\nERROR: can't create '%s'\n", directory.c_str());
  }
}

void WriteBatSetting(config::DbConfigList& list, const char* name, const std::string& value) {
  list.Output(support::Channel::kBat, "SET %s=%s\n", name, BatText(value).c_str());
}

void WriteEditableHeading(config::DbConfigList& list, const char* product) {
  constexpr auto kBat = support::Channel::kBat;
  list.Output(kBat, "\n");
  list.Output(kBat, "REM BATCH FOR STARTING UP %s AGENT\n", product);
  list.Output(kBat, "REM MODIFY THESE ENVIRONMENT VARIABLES\n");
  list.Output(kBat, "\n");
}

void WriteBatLogonSettings(config::DbConfigList& list, const config::DbConfig& record) {
  WriteBatSetting(list, "INST", record.getServerName());
  WriteBatSetting(list, "COLL_LOGON", record.getLoginName());
  WriteBatSetting(list, "COLL_PASSWORD", record.getPassword());
}

void WriteFixedHeading(config::DbConfigList& list) {
  constexpr auto kBat = support::Channel::kBat;
  list.Output(kBat, "\n");
  list.Output(kBat, "REM DON'T MODIFY THE FOLLOWING\n");
  list.Output(kBat, "\n");
}

void WriteFixedCollectorSettings(config::DbConfigList& list) {
  constexpr auto kBat = support::Channel::kBat;
  list.Output(kBat, "SET COLL_SERVERID=%%INST%%\n");
  list.Output(kBat, "SET COLL_HOSTNAME=%%COMPUTERNAME%%\n");
  list.Output(kBat, "SET COLL_PREFIX=TEMP\n");
  list.Output(kBat, "SET COLL_USESHM=1\n");
}

void WriteStartLines(config::DbConfigList& list, const std::string& collector, const char* product,
                     const char* release, const std::string& server) {
  constexpr auto kBat = support::Channel::kBat;
  list.Output(kBat, "\n");
  list.Output(kBat, "REM START COLLECTOR and AGENT\n");
  const std::string program = list.GetCommonCollector() == 1 ? "VDBCOLL" : collector;
  list.Output(kBat, "START /MIN %s -console \n", program.c_str());
  list.Output(kBat, "START /MIN %sAGENT -console -hkey \"%s\\%s\\%s\"\n", product, product, release,
              BatText(server, true).c_str());
}

int WriteInstanceBat(config::DbConfigList& list, const config::DbConfig& record, const char* writer,
                     ServerKind kind, BatBody body) {
  list.Output(Channel::kLog, "\n%s: enter\n", writer);
  const support::KindNames& names = *support::NamesOf(kind);
  const std::string path =
      list.GetEtcDir(config::PathForm::kResolved) + "\\" + names.BatFile(record.getServerName());
  TraceExisting(list, path);

  ChannelFile file(list);
  if (const int opened = OpenWithDirectories(list, path, &file, open_bat); opened != kWritten) {
    return opened;
  }
  const std::string history = HistoryDir(list, names.product, record.getServerName());
  body(list, record, history);
  if (const int committed = CommitGenerated(list, path, &file); committed != kWritten) {
    return committed;
  }
  list.Output(Channel::kLog, "Finished generating %s file\n", path.c_str());
  list.Output(Channel::kLog, "%s: exit\n", writer);

  MakeHistoryDir(list, history);
  return kWritten;
}

}  // namespace generate
