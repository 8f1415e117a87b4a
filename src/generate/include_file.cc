// The include file of a server kind: the list of the .ini files of all its
// configured agent instances, always rewritten whole from the list.
#include <string>

#include "generate/agent_files.h"
#include "generate/channel_file.h"
#include "platform/files.h"
#include "support/config_log.h"
#include "support/server_kind.h"

namespace generate {

namespace {

int WriteIncludeFile(config::DbConfigList& list, ServerKind kind, int count, const std::string& etc,
                     const support::KindNames& names) {
  // The Sybase name has long been composed with a stray "%" in front of it
  // ("%s\\%vsyinc.ini"); the file meant, and the one the scan reads, is
  // vsyinc.ini.
  const std::string path = etc + "\\" + names.include_file;
  list.Output(Channel::kLog, "Generate_IniIncFile: Checking for existence of '%s'\n", path.c_str());
  // An existing file is replaced whole below.
  ChannelFile file(list);
  if (file.Open(path, support::Channel::kInclude) != 0) {
    list.Output(Channel::kLog, "Can't open '%s' for write\n", path.c_str());
    return 2;
  }
  list.Output(Channel::kLog, "Generate_IniIncFile: Opened for write '%s'\n", path.c_str());
  list.Output(support::Channel::kInclude, "\n");
  list.Output(support::Channel::kInclude, "[Include]\n");
  for (int index = 0; index < count; ++index) {
    const config::DbConfig* record = list.GetAt(index, kind);
    if (record == nullptr) continue;
    const std::string server = record->getServerName();
    list.Output(Channel::kLog, "Generate_IniIncFile: Adding line for '%s'\n", server.c_str());
    list.Output(support::Channel::kInclude, "Add=%s\\%s\n", etc.c_str(),
                names.IniFile(server).c_str());
  }
  if (const int status = file.Commit(); status != 0) {
    list.Output(Channel::kLog, "Can't write '%s', errno =%d\n", path.c_str(), status);
    return 2;
  }
  return 0;
}

}  // namespace

int Generate_IniIncFile(config::DbConfigList& list, ServerKind kind) {
  list.Output(Channel::kLog, "\nGenerate_IniIncFile: enter\n");
  const int count = list.GetCount(kind);
  list.Output(Channel::kLog, "Generate_IniIncFile: There are %d agent instances to handle\n",
              count);
  const support::KindNames* names = support::NamesOf(kind);
  if (names == nullptr) return 1;
  const int result =
      WriteIncludeFile(list, kind, count, list.GetEtcDir(config::PathForm::kResolved), *names);
  list.Output(Channel::kLog, "Generate_IniIncFile: exit, rc = %d\n", result);
  return result;
}

}  // namespace generate
