// Service numbers: read back from an instance's management-agent file, and
// handed out lowest first to instances that need one.
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "config/db_config_list.h"
#include "platform/files.h"
#include "support/config_log.h"
#include "support/line_reader.h"
#include "support/server_kind.h"

namespace config {

namespace {

// One flag per service number of a kind; numbers beyond the kind's bound
// have no flag and are ignored.
class NumberFlags {
 public:
  explicit NumberFlags(int count) : taken_(static_cast<size_t>(count), false) {}
  void take(int number) {
    if (number >= 0 && static_cast<size_t>(number) < taken_.size()) taken_[number] = true;
  }
  [[nodiscard]] bool taken(int number) const { return taken_[static_cast<size_t>(number)]; }

 private:
  std::vector<bool> taken_;
};

constexpr std::string_view kPasswordEntry = "COLL_PASSWORD=";

// A line as the log shows it: the password entry's value masked.
std::string Shown(const std::string& line) {
  if (line.compare(0, kPasswordEntry.size(), kPasswordEntry) != 0) return line;
  return std::string(kPasswordEntry) + support::kMask + "\n";
}

// Marks the numbers that the kind's instance files hold: 0, or -3 when one
// of them could not be read.
int MarkNumbersOnDisk(DbConfigList& list, ServerKind kind, NumberFlags* flags) {
  list.Output(
      Channel::kLog,
      "GetAvailServiceNumber: Initializing current service numbers in use, there are %d of them\n",
      list.GetCount(kind));
  for (int i = 0; i < list.GetCount(kind); ++i) {
    const DbConfig& record = *list.GetAt(i, kind);
    const std::string name = record.getServerName();
    list.Output(Channel::kLog, "GetAvailServiceNumber: Got a configured server '%s'\n",
                name.c_str());
    const int number = list.GetServiceNumber(kind, record);
    list.Output(Channel::kLog, "GetAvailServiceNumber: server '%s' service number is %d\n",
                name.c_str(), number);
    if (number < 0) {
      list.Output(Channel::kLog, "ERROR: unable to obtain service num for '%s'\n", name.c_str());
      return -3;
    }
    list.Output(Channel::kLog, "GetAvailServiceNumber: Setting service number %d as unavailable\n",
                number);
    flags->take(number);
  }
  return 0;
}

// The lowest number not taken, or -10 when all are.
int LowestFree(DbConfigList& list, const NumberFlags& flags, int maximum) {
  list.Output(Channel::kLog, "GetAvailServiceNumber: Hunting for available service number\n");
  for (int number = 0; number < maximum; ++number) {
    list.Output(Channel::kLog, "GetAvailServiceNumber: Checking boolean array[%d]\n", number);
    if (!flags.taken(number)) {
      list.Output(Channel::kLog, "GetAvailServiceNumber: Service number %d is available\n", number);
      return number;
    }
  }
  list.Output(Channel::kLog,
              "GetAvailServiceNumber: Maximum instances (%d) are already configured\n", maximum);
  return -10;
}

}  // namespace

int DbConfigList::GetServiceNumber(ServerKind kind, const DbConfig& record) {
  Output(Channel::kLog, "\nGetServiceNumber: enter\n");
  const support::KindNames* files = support::NamesOf(kind);
  if (files == nullptr) return -2;
  const std::string path =
      GetEtcDir(PathForm::kResolved) + "\\" + files->IniFile(record.getServerName());
  const platform::File file = platform::OpenFile(path, "r");
  if (file == nullptr) {
    Output(Channel::kLog, "\nERROR: can't open file '%s'\n", path.c_str());
    return -3;
  }
  const std::string_view section = files->agent_section;
  std::string line;  // with its "\n", as the log has always shown it
  while (support::ReadLineWithEnd(file.get(), &line)) {
    Output(Channel::kLog, "GetServiceNumber: read line\n");
    if (line.empty() || line[0] == ';') continue;
    Output(Channel::kLog, "GetServiceNumber: Comparing line '%s' with '%s'\n", Shown(line).c_str(),
           files->agent_section);
    if (line.compare(0, section.size(), section) != 0) continue;
    const char* rest = line.c_str() + section.size();
    Output(Channel::kLog, "GetServiceNumber: Line match, strNum is '%s'\n", rest);
    // The leading digits, as the agent itself reads them: "2]" is 2 and
    // "X]" is 0, not an error.
    const int number = std::atoi(rest);
    Output(Channel::kLog, "GetServiceNumber: Returning %d\n", number);
    Output(Channel::kLog, "GetServiceNumber: exit\n");
    return number;
  }
  Output(Channel::kLog, "GetServiceNumber: exit\n");
  return -1;
}

int DbConfigList::GetAvailServiceNumber(ServerKind kind) {
  Output(Channel::kLog, "\nGetAvailServiceNumber: enter\n");
  int result = -1;
  if (support::NamesOf(kind) == nullptr) {
    Output(Channel::kLog, "\nERROR: invalid db type '%d'\n", support::KindNumber(kind));
  } else {
    const int maximum = VDBServerMaxInstances(kind);
    Output(Channel::kLog, "GetAvailServiceNumber: Initializing boolean array to a size of %d\n",
           maximum);
    NumberFlags flags(maximum);
    const int status = MarkNumbersOnDisk(*this, kind, &flags);
    result = status != 0 ? status : LowestFree(*this, flags, maximum);
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
