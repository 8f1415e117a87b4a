#include "config/db_config_list.h"

#include <cstdarg>

#include "discovery/db_server.h"
#include "platform/text_format.h"
#include "support/strings.h"

namespace config {

namespace {

const char* KindTitle(int kind) {
  switch (kind) {
    case 1:
      return "Oracle";
    case 2:
      return "Sybase";
    case 3:
      return "MSSQL";
    case 4:
      return "INFORMIX";
    default:
      return nullptr;
  }
}

}  // namespace

int VDBServerMaxInstances(int kind) { return kind >= 1 && kind <= 4 ? kMaxInstancesPerKind : 0; }

DbConfigList::DbConfigList() : log_(1) {}

DbConfigList::~DbConfigList() {
  Output(1, "~DbConfigList: Enter\n");
  for (auto& records : records_) {
    while (!records.empty()) {
      const DbConfig* record = records.back().get();
      Output(1, "~DbConfigList: deleting DbConfig '%s'\n", record->getServerName().c_str());
      Output(1, "~DbConfigList: deleting DbConfig addr 0x%lx\n",
             static_cast<unsigned long>(reinterpret_cast<uintptr_t>(record)));
      records.pop_back();
    }
  }
  // The last line follows the closing of the log, so only the console sees it.
  CloseLog();
  Output(1, "~DbConfigList: Exit\n");
}

void DbConfigList::Output(int channel, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  OutputV(channel, format, args);
  va_end(args);
}

void DbConfigList::OutputV(int channel, const char* format, std::va_list args) {
  log_.Output(channel, "%s", platform::vformat(format, args).c_str());
}

std::vector<std::unique_ptr<DbConfig>>* DbConfigList::Records(int kind) {
  return kind >= 0 && kind < kConfigKindSlots ? &records_[static_cast<size_t>(kind)] : nullptr;
}

const std::vector<std::unique_ptr<DbConfig>>* DbConfigList::Records(int kind) const {
  return kind >= 0 && kind < kConfigKindSlots ? &records_[static_cast<size_t>(kind)] : nullptr;
}

int DbConfigList::GetCount(int kind) const {
  const auto* records = Records(kind);
  return records != nullptr ? static_cast<int>(records->size()) : 0;
}

DbConfig* DbConfigList::GetAt(int index, int kind) const {
  const auto* records = Records(kind);
  if (records == nullptr || index < 0 || index >= static_cast<int>(records->size())) return nullptr;
  return (*records)[static_cast<size_t>(index)].get();
}

int DbConfigList::Add(std::unique_ptr<DbConfig> record, int kind) {
  auto* records = Records(kind);
  if (records == nullptr) return -1;
  records->push_back(std::move(record));
  return static_cast<int>(records->size()) - 1;
}

void DbConfigList::Delete_Config(const DbConfig* record, int kind) {
  Output(1, "Delete_Config: enter, num dbconfigs %d\n", GetCount(kind));
  auto* records = Records(kind);
  if (records != nullptr) {
    for (size_t i = records->size(); i-- > 0;) {
      if ((*records)[i].get() != record) continue;
      Output(1, "Delete_Config: deleting '%s'\n", record->getServerName().c_str());
      records->erase(records->begin() + static_cast<std::ptrdiff_t>(i));
      break;
    }
  }
  Output(1, "Delete_Config: exit, num dbconfigs %d\n", GetCount(kind));
}

int DbConfigList::HasServer(const std::string& name, int kind) const {
  const auto* records = Records(kind);
  if (records == nullptr) return 0;
  for (const auto& record : *records) {
    if (str_icmp(record->getServerName().c_str(), name.c_str()) == 0) return 1;
  }
  return 0;
}

DbConfig* DbConfigList::FindServer(const discovery::DbServer& server, int kind) const {
  const auto* records = Records(kind);
  if (records == nullptr) return nullptr;
  for (const auto& record : *records) {
    if (record->getServerName() == server.getServerName() &&
        record->getServiceKey() == server.getServiceName() &&
        record->getErrorLog() == server.getErrorLogName() &&
        record->getHomeDir() == server.getHome() && record->getVersion() == server.getVersion() &&
        record->getServerType() == static_cast<int>(server.getKind()) &&
        record->getPort() == server.getTcpPort()) {
      return record.get();
    }
  }
  return nullptr;
}

DbConfig* DbConfigList::FindConfig(const DbConfig& wanted, int kind) const {
  const auto* records = Records(kind);
  if (records == nullptr) return nullptr;
  for (const auto& record : *records) {
    if (record->getServerName() == wanted.getServerName() &&
        record->getServiceKey() == wanted.getServiceKey() &&
        record->getErrorLog() == wanted.getErrorLog() &&
        record->getHomeDir() == wanted.getHomeDir() &&
        record->getVersion() == wanted.getVersion() &&
        record->getServerType() == wanted.getServerType() &&
        record->getServiceNumber() == wanted.getServiceNumber() &&
        record->getPort() == wanted.getPort()) {
      return record.get();
    }
  }
  return nullptr;
}

DbConfig* DbConfigList::FindByName(const std::string& name, int kind) const {
  const auto* records = Records(kind);
  if (records == nullptr) return nullptr;
  for (const auto& record : *records) {
    if (record->getServerName() == name) return record.get();
  }
  return nullptr;
}

int DbConfigList::PrintServers(int kind) {
  const int count = GetCount(kind);
  if (count == 0) {
    Output(1, "\tNo Servers in the Configuration List\n\n");
    return 0;
  }
  const char* title = KindTitle(kind);
  if (title == nullptr) return 0;
  Output(1, "\n\t\t\tList of %s Servers\n", title);
  Output(1, "\n\t=================================================\n");
  for (int i = 0; i < count; ++i) {
    const DbConfig* record = GetAt(i, kind);
    Output(1, "\n\t%d) Server Name: '%s' HomeDir: '%s' Errorlog: '%s'\n", i + 1,
           record->getServerName().c_str(), record->getHomeDir().c_str(),
           record->getErrorLog().c_str());
  }
  Output(1, "\n");
  return count;
}

void DbConfigList::PrintConfigs(int kind) {
  if (GetCount(kind) == 0) {
    Output(1, "\n\n\t\tNo Servers were found in the Configuration List\n\n");
    return;
  }
  const char* title = KindTitle(kind);
  if (title == nullptr) return;
  Output(1, "\n\t\t\tList of %s Servers \n", title);
  Output(1, "\n\t\t========================================================\n");
  for (int i = 0; i < GetCount(kind); ++i) {
    DumpConfig(*GetAt(i, kind), kind);
    Output(1, "\n");
  }
}

void DbConfigList::DumpConfig(const DbConfig& record, int kind) {
  Output(1, "\n");
  Output(1, "\tDatabase Server name: '%s'\n", record.getServerName().c_str());
  Output(1, "\tDatabase Server Version: '%s'\n", record.getVersion().c_str());
  Output(1, "\tDatabase Login name: '%s'\n", record.getLoginName().c_str());
  // The log outlives the run and is read by others than the database's
  // administrators: the password never stands in it.
  Output(1, "\tPassword '%s'\n", support::MaskedSecret(record.getPassword()));
  Output(1, "\tDatabase Errorlog: '%s'\n", record.getErrorLog().c_str());
  Output(1, "\tDatabase Home directory: '%s'\n", record.getHomeDir().c_str());
  if (kind == 2) Output(1, "\tSybase OCS directory: '%s'\n", record.getOcsDir().c_str());
  Output(1, "\tServer Type '%d'\n", record.getServerType());
  Output(1, "\tService Key '%s'\n", record.getServiceKey().c_str());
  Output(1, "\tConfig File '%s'\n", record.getConfigFile().c_str());
  Output(1, "\tClust Server '%s'\n", record.getClusterServer().c_str());
  Output(1, "\tTNS_ADMIN '%s'\n", record.getTnsAdmin().c_str());
  Output(1, "\tExtended Parameters '%s'\n", record.getExtendedParams().c_str());
  Output(1, "\tServiceNumber '%d'\n", record.getServiceNumber());
  Output(1, "\tDatabase names to include '%s'\n", record.getIncludeDbNames().c_str());
}

}  // namespace config
