// Service numbers: read back from an instance's management-agent file, and
// handed out lowest first to instances that need one.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/db_config_list.h"
#include "platform/files.h"
#include "support/memory.h"
#include "support/server_kind.h"

namespace config {

namespace {

// One flag per service number of a kind, from the checked allocator.
class NumberFlags {
 public:
  explicit NumberFlags(int count)
      : count_(count),
        flags_(
            static_cast<bool*>(util_malloc(static_cast<int>(sizeof(bool)) * count, "vdbixdcl",
                                           __LINE__, "sizeof(bool) * VDBServerMaxInstances[db]"))) {
    if (flags_ != nullptr) std::memset(flags_.get(), 0, sizeof(bool) * static_cast<size_t>(count));
  }
  [[nodiscard]] bool ok() const { return flags_ != nullptr; }
  // Numbers beyond the kind's bound have no flag and are ignored.
  void take(int number) {
    if (number >= 0 && number < count_) flags_.get()[number] = true;
  }
  [[nodiscard]] bool taken(int number) const { return flags_.get()[number]; }

 private:
  struct Free {
    void operator()(bool* flags) const { util_free(flags); }
  };
  int count_;
  std::unique_ptr<bool, Free> flags_;
};

constexpr char kPasswordEntry[] = "COLL_PASSWORD=";
constexpr size_t kPasswordEntryLength = sizeof kPasswordEntry - 1;

}  // namespace

int DbConfigList::GetServiceNumber(ServerKind kind, const DbConfig& record) {
  Output(Channel::kLog, "\nGetServiceNumber: enter\n");
  const support::KindNames* files = support::NamesOf(kind);
  if (files == nullptr) return -2;
  const std::string path =
      GetEtcDir(PathForm::kResolved) + "\\" + files->ini_stem + record.getServerName() + ".ini";
  const platform::File file = platform::OpenFile(path, "r");
  if (file == nullptr) {
    Output(Channel::kLog, "\nERROR: can't open file '%s'\n", path.c_str());
    return -3;
  }
  const size_t prefix_length = std::strlen(files->agent_section);
  char line[512];
  // The password line is not shown in the log, nor the rest of it when it is
  // longer than one read.
  bool in_password = false;
  while (std::fgets(line, sizeof line, file.get()) != nullptr) {
    Output(Channel::kLog, "GetServiceNumber: read line\n");
    const bool continued = in_password;
    const size_t length = std::strlen(line);
    const bool whole = length > 0 && line[length - 1] == '\n';
    in_password =
        (continued || std::strncmp(line, kPasswordEntry, kPasswordEntryLength) == 0) && !whole;
    if (line[0] == ';' || line[0] == '\0') continue;
    const bool secret = continued || std::strncmp(line, kPasswordEntry, kPasswordEntryLength) == 0;
    const std::string shown = !secret     ? std::string(line)
                              : continued ? std::string(support::kMask) + (whole ? "\n" : "")
                                          : std::string(kPasswordEntry) + support::kMask + "\n";
    Output(Channel::kLog, "GetServiceNumber: Comparing line '%s' with '%s'\n", shown.c_str(),
           files->agent_section);
    if (std::strncmp(line, files->agent_section, prefix_length) != 0) continue;
    const char* rest = line + prefix_length;
    Output(Channel::kLog, "GetServiceNumber: Line match, strNum is '%s'\n", rest);
    const int number = std::atoi(rest);
    Output(Channel::kLog, "GetServiceNumber: Returning %d\n", number);
    Output(Channel::kLog, "GetServiceNumber: exit\n");
    return number;
  }
  Output(Channel::kLog, "GetServiceNumber: exit\n");
  return -1;
}

int DbConfigList::GetAvailServiceNumber(ServerKind kind) {
  int result = -10;
  Output(Channel::kLog, "\nGetAvailServiceNumber: enter\n");
  if (support::NamesOf(kind) == nullptr) {
    Output(Channel::kLog, "\nERROR: invalid db type '%d'\n", support::KindNumber(kind));
    Output(Channel::kLog, "GetAvailServiceNumber: exit, availnum=%d\n", -1);
    return -1;
  }
  const int maximum = VDBServerMaxInstances(kind);
  Output(Channel::kLog, "GetAvailServiceNumber: Initializing boolean array to a size of %d\n",
         maximum);
  NumberFlags flags(maximum);
  if (!flags.ok()) {
    Output(Channel::kLog, "\nERROR: unable to alloc bool array'\n");
    Output(Channel::kLog, "GetAvailServiceNumber: exit, availnum=%d\n", -2);
    return -2;
  }
  Output(
      Channel::kLog,
      "GetAvailServiceNumber: Initializing current service numbers in use, there are %d of them\n",
      GetCount(kind));
  for (int i = 0; i < GetCount(kind); ++i) {
    const DbConfig& record = *GetAt(i, kind);
    const std::string name = record.getServerName();
    Output(Channel::kLog, "GetAvailServiceNumber: Got a configured server '%s'\n", name.c_str());
    const int number = GetServiceNumber(kind, record);
    Output(Channel::kLog, "GetAvailServiceNumber: server '%s' service number is %d\n", name.c_str(),
           number);
    if (number < 0) {
      Output(Channel::kLog, "ERROR: unable to obtain service num for '%s'\n", name.c_str());
      Output(Channel::kLog, "GetAvailServiceNumber: exit, availnum=%d\n", -3);
      return -3;
    }
    Output(Channel::kLog, "GetAvailServiceNumber: Setting service number %d as unavailable\n",
           number);
    flags.take(number);
  }
  Output(Channel::kLog, "GetAvailServiceNumber: Hunting for available service number\n");
  for (int number = 0; number < maximum; ++number) {
    Output(Channel::kLog, "GetAvailServiceNumber: Checking boolean array[%d]\n", number);
    if (!flags.taken(number)) {
      Output(Channel::kLog, "GetAvailServiceNumber: Service number %d is available\n", number);
      result = number;
      break;
    }
  }
  if (result < 0) {
    Output(Channel::kLog, "GetAvailServiceNumber: Maximum instances (%d) are already configured\n",
           maximum);
  }
  Output(Channel::kLog, "GetAvailServiceNumber: exit, availnum=%d\n", result);
  return result;
}

int DbConfigList::GetAvailServiceNumberbyConfigType(ServerKind kind, int /*ignored*/) {
  Output(Channel::kLog, "\nGetAvailServiceNumberbyConfigType: enter\n");
  if (support::NamesOf(kind) == nullptr) {
    Output(Channel::kLog, "\nERROR: invalid db type '%d'\n", support::KindNumber(kind));
    return -1;
  }
  const int maximum = VDBServerMaxInstances(kind);
  NumberFlags flags(maximum);
  if (!flags.ok()) {
    Output(Channel::kLog, "\nERROR: unable to alloc bool array'\n");
    return -2;
  }
  for (int i = 0; i < GetCount(kind); ++i) {
    DbConfig& record = *GetAt(i, kind);
    const std::string name = record.getServerName();
    const int number = record.getServiceNumber();
    const int type = record.getConfigType();
    if (type != kConfigScanned && type != kConfigChanged) {
      Output(Channel::kLog, "Server [%s] SERVICE NUMBER [%d] NOT IN USE , Configtype[%d]\n",
             name.c_str(), number, type);
    } else if (number >= 0) {
      Output(Channel::kLog, "Server [%s] SERVICE NUMBER [%d] IN USE, Config Type[%d]\n",
             name.c_str(), number, type);
      flags.take(number);
    } else {
      Output(Channel::kLog, "ERROR: unable to obtain service num for '%s'\n", name.c_str());
      record.setConfigType(kConfigNew);
      Output(Channel::kLog, "MODIFY: change CONFIG TYPE [%s] to 'CONFIG_NEW'\n", name.c_str());
    }
  }
  Output(Channel::kLog,
         "GetAvailServiceNumberbyConfigType: Hunting for available service number\n");
  for (int i = 0; i < GetCount(kind); ++i) {
    DbConfig& record = *GetAt(i, kind);
    if (record.getConfigType() != kConfigNew && record.getConfigType() != kConfigNone) continue;
    for (int number = 0; number < maximum; ++number) {
      if (flags.taken(number)) continue;
      record.setServiceNumber(number);
      flags.take(number);
      Output(Channel::kLog, "Assigned ServiceNumber[%d] : Server [%s] \n", number,
             record.getServerName().c_str());
      break;
    }
  }
  Output(Channel::kLog, "GetAvailServiceNumberbyConfigType: exit\n");
  return 0;
}

}  // namespace config
