#include "config/db_config_list.h"

#include <cstdarg>

#include "discovery/db_server.h"
#include "support/strings.h"

namespace config {

namespace {

const char* KindTitle(ServerKind kind) {
  const support::KindNames* names = support::NamesOf(kind);
  return names == nullptr ? nullptr : names->title;
}

}  // namespace

int VDBServerMaxInstances(ServerKind kind) {
  return support::NamesOf(kind) != nullptr ? kMaxInstancesPerKind : 0;
}

DbConfigList::DbConfigList() : log_(1) {}

DbConfigList::~DbConfigList() {
  Output(Channel::kLog, "~DbConfigList: Enter\n");
  for (auto& records : records_) {
    while (!records.empty()) {
      const DbConfig* record = records.back().get();
      Output(Channel::kLog, "~DbConfigList: deleting DbConfig '%s'\n",
             record->getServerName().c_str());
      Output(Channel::kLog, "~DbConfigList: deleting DbConfig addr 0x%lx\n",
             static_cast<unsigned long>(reinterpret_cast<uintptr_t>(record)));
      records.pop_back();
    }
  }
  // The last line follows the closing of the log, so only the console sees it.
  CloseLog();
  Output(Channel::kLog, "~DbConfigList: Exit\n");
}

void DbConfigList::Output(Channel channel, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  OutputV(channel, format, args);
  va_end(args);
}

void DbConfigList::OutputV(Channel channel, const char* format, std::va_list args) {
  log_.OutputV(channel, format, args);
}

std::vector<std::unique_ptr<DbConfig>>* DbConfigList::Records(ServerKind kind) {
  const int slot = support::KindNumber(kind);
  return slot >= 0 && slot < kConfigKindSlots ? &records_[static_cast<size_t>(slot)] : nullptr;
}

const std::vector<std::unique_ptr<DbConfig>>* DbConfigList::Records(ServerKind kind) const {
  const int slot = support::KindNumber(kind);
  return slot >= 0 && slot < kConfigKindSlots ? &records_[static_cast<size_t>(slot)] : nullptr;
}

int DbConfigList::GetCount(ServerKind kind) const {
  const auto* records = Records(kind);
  return records != nullptr ? static_cast<int>(records->size()) : 0;
}

DbConfig* DbConfigList::GetAt(int index, ServerKind kind) const {
  const auto* records = Records(kind);
  if (records == nullptr || index < 0 || index >= static_cast<int>(records->size())) return nullptr;
  return (*records)[static_cast<size_t>(index)].get();
}

int DbConfigList::Add(std::unique_ptr<DbConfig> record, ServerKind kind) {
  auto* records = Records(kind);
  if (records == nullptr) return -1;
  records->push_back(std::move(record));
  return static_cast<int>(records->size()) - 1;
}

void DbConfigList::Delete_Config(const DbConfig* record, ServerKind kind) {
  Output(Channel::kLog, "Delete_Config: enter, num dbconfigs %d\n", GetCount(kind));
  auto* records = Records(kind);
  if (records != nullptr) {
    for (size_t i = records->size(); i-- > 0;) {
      if ((*records)[i].get() != record) continue;
      Output(Channel::kLog, "Delete_Config: deleting '%s'\n", record->getServerName().c_str());
      records->erase(records->begin() + static_cast<std::ptrdiff_t>(i));
      break;
    }
  }
  Output(Channel::kLog, "Delete_Config: exit, num dbconfigs %d\n", GetCount(kind));
}

int DbConfigList::HasServer(const std::string& name, ServerKind kind) const {
  const auto* records = Records(kind);
  if (records == nullptr) return 0;
  for (const auto& record : *records) {
    if (str_icmp(record->getServerName().c_str(), name.c_str()) == 0) return 1;
  }
  return 0;
}

DbConfig* DbConfigList::FindServer(const discovery::DbServer& server, ServerKind kind) const {
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

DbConfig* DbConfigList::FindConfig(const DbConfig& wanted, ServerKind kind) const {
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

DbConfig* DbConfigList::FindByName(const std::string& name, ServerKind kind) const {
  const auto* records = Records(kind);
  if (records == nullptr) return nullptr;
  for (const auto& record : *records) {
    if (record->getServerName() == name) return record.get();
  }
  return nullptr;
}

int DbConfigList::PrintServers(ServerKind kind) {
  const int count = GetCount(kind);
  if (count == 0) {
    Output(Channel::kLog, "\tNo Servers in the Configuration List\n\n");
    return 0;
  }
  const char* title = KindTitle(kind);
  if (title == nullptr) return 0;
  Output(Channel::kLog, "\n\t\t\tList of %s Servers\n", title);
  Output(Channel::kLog, "\n\t=================================================\n");
  for (int i = 0; i < count; ++i) {
    const DbConfig* record = GetAt(i, kind);
    Output(Channel::kLog, "\n\t%d) Server Name: '%s' HomeDir: '%s' Errorlog: '%s'\n", i + 1,
           record->getServerName().c_str(), record->getHomeDir().c_str(),
           record->getErrorLog().c_str());
  }
  Output(Channel::kLog, "\n");
  return count;
}

void DbConfigList::PrintConfigs(ServerKind kind) {
  if (GetCount(kind) == 0) {
    Output(Channel::kLog, "\n\n\t\tNo Servers were found in the Configuration List\n\n");
    return;
  }
  const char* title = KindTitle(kind);
  if (title == nullptr) return;
  Output(Channel::kLog, "\n\t\t\tList of %s Servers \n", title);
  Output(Channel::kLog, "\n\t\t========================================================\n");
  for (int i = 0; i < GetCount(kind); ++i) {
    DumpConfig(*GetAt(i, kind), kind);
    Output(Channel::kLog, "\n");
  }
}

void DbConfigList::DumpConfig(const DbConfig& record, ServerKind kind) {
  Output(Channel::kLog, "\n");
  Output(Channel::kLog, "\tDatabase Server name: '%s'\n", record.getServerName().c_str());
  Output(Channel::kLog, "\tDatabase Server Version: '%s'\n", record.getVersion().c_str());
  Output(Channel::kLog, "\tDatabase Login name: '%s'\n", record.getLoginName().c_str());
  // The log outlives the run and is read by others than the database's
  // administrators: the password never stands in it.
  Output(Channel::kLog, "\tPassword '%s'\n", support::MaskedSecret(record.getPassword()));
  Output(Channel::kLog, "\tDatabase Errorlog: '%s'\n", record.getErrorLog().c_str());
  Output(Channel::kLog, "\tDatabase Home directory: '%s'\n", record.getHomeDir().c_str());
  if (kind == ServerKind::kSybase)
    Output(Channel::kLog, "\tSybase OCS directory: '%s'\n", record.getOcsDir().c_str());
  Output(Channel::kLog, "\tServer Type '%d'\n", record.getServerType());
  Output(Channel::kLog, "\tService Key '%s'\n", record.getServiceKey().c_str());
  Output(Channel::kLog, "\tConfig File '%s'\n", record.getConfigFile().c_str());
  Output(Channel::kLog, "\tClust Server '%s'\n", record.getClusterServer().c_str());
  Output(Channel::kLog, "\tTNS_ADMIN '%s'\n", record.getTnsAdmin().c_str());
  Output(Channel::kLog, "\tExtended Parameters '%s'\n", record.getExtendedParams().c_str());
  Output(Channel::kLog, "\tServiceNumber '%d'\n", record.getServiceNumber());
  Output(Channel::kLog, "\tDatabase names to include '%s'\n", record.getIncludeDbNames().c_str());
}

}  // namespace config
