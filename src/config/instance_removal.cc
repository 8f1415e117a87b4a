#include "config/instance_removal.h"

#include <algorithm>
#include <memory>

#include "config/db_config_list.h"
#include "discovery/db_server.h"
#include "discovery/db_server_list.h"
#include "platform/files.h"
#include "platform/service_control.h"
#include "platform/system.h"

namespace config {

namespace {

constexpr uint32_t kStopDeadlineMs = 90000;

void RemoveIfPresent(const std::string& path) {
  if (platform::OpenFile(path, "r") == nullptr) return;  // absent: nothing to say
  (void)platform::RemoveFile(path);
  discovery::discoveryTrace("Finished removing %s file\n", path.c_str());
}

// The names of a kind's keys and services. An Informix instance, or one of
// an unknown kind, is looked for where a SQL Server instance would be.
const support::KindNames* KeyNamesOf(ServerKind kind) {
  return support::NamesOf(
      kind == ServerKind::kOracle || kind == ServerKind::kSybase ? kind : ServerKind::kSqlServer);
}

void DeleteInstanceKey(const support::KindNames& names, const std::string& name) {
  const std::string key = names.registry_stem + name;
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect("", &hive);
  if (DeleteRegistryTree(hive.get(), key) == 1) {
    discovery::discoveryTrace("[DBG] Deleting instance [%s]\n", key.c_str());
  } else {
    discovery::discoveryTrace("[DBG] Fail to delete instance [%s]\n", key.c_str());
  }
}

}  // namespace

void RemoveInstanceFiles(ServerKind kind, const std::string& directory, const std::string& name) {
  const support::KindNames* files = support::NamesOf(kind);
  if (files == nullptr || !files->scanned) return;
  RemoveIfPresent(directory + "\\" + files->IniFile(name));
  RemoveIfPresent(directory + "\\" + files->BatFile(name));
}

void RemoveInstanceKey(ServerKind kind, const std::string& name, int serviceNumber) {
  const support::KindNames* names = KeyNamesOf(kind);
  DeleteInstanceKey(*names, name);
  RemoveServices(names->service_prefix, serviceNumber);
}

void RemoveDiscoveredInstanceFiles(const discovery::DbServerList& servers, ServerKind kind,
                                   const std::string& directory) {
  for (int i = 0; i < servers.count(kind); ++i) {
    RemoveInstanceFiles(kind, directory, servers.at(i, kind)->getServerName());
  }
}

void RemoveDiscoveredInstanceKeys(const discovery::DbServerList& servers, ServerKind kind) {
  const support::KindNames* names = KeyNamesOf(kind);
  for (int i = 0; i < servers.count(kind); ++i) {
    DeleteInstanceKey(*names, servers.at(i, kind)->getServerName());
  }
  // Which number each server had is not known here: every one goes.
  for (int number = 0; number < kMaxInstancesPerKind; ++number) {
    RemoveServices(names->service_prefix, number);
  }
}

int DeleteRegistryTree(platform::Registry* root, const std::string& path) {
  if (root == nullptr) return 0;
  if (root->DeleteKey(path, 0) == platform::kRegSuccess) return 1;
  std::unique_ptr<platform::RegistryKey> key;
  if (root->OpenKey(path, platform::kKeyRead, &key) != platform::kRegSuccess) return 0;
  const std::string prefix = path.empty() || path.back() == '\\' ? path : path + "\\";
  std::string child;
  while (key->EnumSubKey(0, &child) == platform::kRegSuccess) {
    if (DeleteRegistryTree(root, prefix + child.substr(0, 260)) != 1) break;
  }
  key.reset();
  return root->DeleteKey(path, 0) == platform::kRegSuccess ? 1 : 0;
}

unsigned long StopServiceAndWait(const std::string& serviceName) {
  unsigned long error = 0;
  const auto manager = platform::ServiceManager::Connect(&error);
  if (manager == nullptr) return 0;
  const auto service = manager->Open(serviceName, platform::ServiceManager::kStopAndQuery, &error);
  if (service == nullptr) return 0;
  if (!service->Stop(&error)) {
    if (error == platform::kServiceNotActive) return 1;
    if (error != platform::kServiceRequestTimeout) return 0;
  }
  const uint32_t deadline = platform::TickCount() + kStopDeadlineMs;
  platform::ServiceStatus status;
  bool first = true;
  uint32_t state = 0;
  uint32_t check_point = 0;
  for (;;) {
    if (!service->QueryStatus(&status)) return 0;
    if (status.state == platform::kServiceStateStopped) return 1;
    if (static_cast<int32_t>(platform::TickCount() - deadline) > 0) {
      return platform::kServiceTimeout;
    }
    if (first) {
      state = status.state;
      first = false;
    } else if (status.state != state) {
      state = status.state;
    } else if (status.check_point < check_point) {
      return 0;  // the service went backwards: it is not stopping
    }
    check_point = status.check_point;
    platform::SleepMilliseconds(std::clamp<uint32_t>(status.wait_hint_ms / 10, 1000, 10000));
  }
}

int RemoveService(const std::string& serviceName) {
  unsigned long error = 0;
  const auto manager = platform::ServiceManager::Connect(&error);
  if (manager == nullptr) {
    discovery::discoveryTrace("[DBG] OpenSCManager failed (%d)\n", static_cast<int>(error));
    return 0;
  }
  const auto service = manager->Open(serviceName, platform::ServiceManager::kDelete, &error);
  if (service == nullptr) return error == platform::kServiceDoesNotExist ? 1 : 0;
  if (!service->Delete(&error)) return 0;
  discovery::discoveryTrace("[DBG] DeleteService [%s] succeeded\n", serviceName.c_str());
  return 1;
}

void RemoveServices(const std::string& prefix, int number) {
  for (const char* role : {"COLL", "AGENT"}) {
    const std::string name = prefix + role + std::to_string(number);
    (void)StopServiceAndWait(name);
    if (RemoveService(name) == 1) {
      discovery::discoveryTrace("[DBG] Deleted service [%s]\n", name.c_str());
    } else {
      discovery::discoveryTrace("[DBG] Fail to delete service [%s]\n", name.c_str());
    }
  }
}

}  // namespace config
