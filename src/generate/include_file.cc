// The include file of a server kind: the list of the .ini files of all its
// configured agent instances, always rewritten whole from the list.
#include <string>

#include "generate/agent_files.h"
#include "generate/channel_file.h"
#include "platform/files.h"
#include "support/config_log.h"

namespace generate {

namespace {

struct IncludeNames {
  const char* file;
  const char* prefix;
};

// The Sybase name has long been composed with a stray "%" in front of it
// ("%s\%vsyinc.ini"); the file meant, and the one the scan reads, is
// vsyinc.ini.
const IncludeNames* IncludeNamesOf(int kind) {
  static const IncludeNames kNames[] = {
      {"vorinc.ini", "VORMMA_"},
      {"vsyinc.ini", "VSYMMA_"},
      {"vsqinc.ini", "VSQMMA_"},
      {"vixinc.ini", "VIXMMA_"},
  };
  return kind >= 1 && kind <= 4 ? &kNames[kind - 1] : nullptr;
}

int WriteIncludeFile(config::DbConfigList& list, int kind, int count, const std::string& etc,
                     const IncludeNames& names) {
  const std::string path = etc + "\\" + names.file;
  list.Output(1, "Generate_IniIncFile: Checking for existence of '%s'\n", path.c_str());
  // An existing file is replaced whole below.
  ChannelFile file(list);
  if (file.Open(path, support::kIncludeChannel) != 0) {
    list.Output(1, "Can't open '%s' for write\n", path.c_str());
    return 2;
  }
  list.Output(1, "Generate_IniIncFile: Opened for write '%s'\n", path.c_str());
  list.Output(support::kIncludeChannel, "\n");
  list.Output(support::kIncludeChannel, "[Include]\n");
  for (int index = 0; index < count; ++index) {
    const config::DbConfig* record = list.GetAt(index, kind);
    if (record == nullptr) continue;
    const std::string server = record->getServerName();
    list.Output(1, "Generate_IniIncFile: Adding line for '%s'\n", server.c_str());
    list.Output(support::kIncludeChannel, "Add=%s\\%s%s.ini\n", etc.c_str(), names.prefix,
                server.c_str());
  }
  if (const int status = file.Commit(); status != 0) {
    list.Output(1, "Can't write '%s', errno =%d\n", path.c_str(), status);
    return 2;
  }
  return 0;
}

}  // namespace

int Generate_IniIncFile(config::DbConfigList& list, int kind) {
  list.Output(1, "\nGenerate_IniIncFile: enter\n");
  const int count = list.GetCount(kind);
  list.Output(1, "Generate_IniIncFile: There are %d agent instances to handle\n", count);
  const IncludeNames* names = IncludeNamesOf(kind);
  if (names == nullptr) return 1;
  const int result =
      WriteIncludeFile(list, kind, count, list.GetEtcDir(config::kFormResolved), *names);
  list.Output(1, "Generate_IniIncFile: exit, rc = %d\n", result);
  return result;
}

}  // namespace generate
