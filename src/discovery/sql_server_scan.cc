#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "discovery/local_config_log.h"
#include "discovery/registry_lookup.h"
#include "discovery/sql_server_discovery.h"
#include "platform/registry.h"

namespace discovery {

namespace {

constexpr const char* kServerRoot = "Software\\Microsoft\\Microsoft SQL Server\\";
constexpr const char* kInstanceNames =
    "Software\\Microsoft\\Microsoft SQL Server\\Instance Names\\SQL";
constexpr size_t kMaxInstanceNames = 50;

struct InstanceName {
  std::string name;
  std::string identifier;
};

// The instance names and identifiers of "Instance Names\SQL", at most 50.
bool ReadInstanceNames(platform::Registry* hive, uint32_t options,
                       std::vector<InstanceName>* names) {
  const auto key = openForValues(hive, kInstanceNames, options);
  if (key == nullptr) return false;
  platform::RegValue value;
  for (uint32_t i = 0; names->size() < kMaxInstanceNames &&
                       enumValue(*key, i, kDataBuffer, &value) == platform::kRegSuccess;
       ++i) {
    names->push_back({trimmed(value.name), trimmed(value.data)});
  }
  return true;
}

// What the keys of one instance tell.
struct FoundInstance {
  std::string cluster;
  std::string home;
  std::string port;
  std::string version;
  std::string master;
  std::string errorlog;
};

// One scan: the 2008 scan (major version 10) or the 2005 scan (9), which differ
// in their messages and in the spelling of the port key. The messages stay
// literal at each step, so that their formats are checked.
class ReleaseScan {
 public:
  ReleaseScan(DbServerList* list, uint32_t options, int major)
      : list_(list), options_(options), major_(major), is2008_(major == 10) {
    (void)platform::Registry::Connect(list->getMachine(), &hive_);
  }

  void Run() {
    std::vector<InstanceName> instances;
    if (!Installed() || !InstanceNames(&instances)) return;
    for (const InstanceName& instance : instances) ScanInstance(instance);
  }

 private:
  bool Installed() const;
  bool InstanceNames(std::vector<InstanceName>* instances) const;
  void ScanInstance(const InstanceName& instance) const;
  std::string ClusterName(const std::string& base) const;
  bool ReadHome(const std::string& base, const char* name, std::string* home) const;
  bool ReadPort(const std::string& base, const char* name, std::string* port) const;
  std::string ReadVersion(const std::string& base, const char* name) const;
  void ReadParameters(const std::string& base, const char* name, FoundInstance* found) const;
  void AddServer(const InstanceName& instance, const FoundInstance& found) const;

  std::unique_ptr<platform::RegistryKey> Open(const std::string& path) const {
    return openForValues(hive_.get(), path, options_);
  }
  static void Unable(const std::string& key, const char* name) {
    localConfigLog(
        "Unable to Open the Reg Key '%s' for instance '%s';So this instance will not be added",
        key.c_str(), name);
  }

  DbServerList* list_;
  std::unique_ptr<platform::Registry> hive_;
  const uint32_t options_;
  const int major_;
  const bool is2008_;
};

bool ReleaseScan::Installed() const {
  const int options = static_cast<int>(options_);
  if (Open(std::string(kServerRoot) + (is2008_ ? "100" : "90")) == nullptr) {
    localConfigLog(is2008_ ? "SQL Server 2008 is Not Installed. hkey_options:%d"
                           : "SQL Server 2005 is Not Installed. hkey_options:%d",
                   options);
    return false;
  }
  localConfigLog(is2008_ ? "SQL Server 2008 Reg key found. hkey_options:%d"
                         : "SQL Server 2005 key found. hkey_options:%d",
                 options);
  return true;
}

bool ReleaseScan::InstanceNames(std::vector<InstanceName>* instances) const {
  if (ReadInstanceNames(hive_.get(), options_, instances)) return true;
  localConfigLog(is2008_ ? "SQL Server 2008 Reg Key for Instance names NOT found"
                         : "Reg key not found for sql server 2005 instances");
  return false;
}

// An instance without its home or port key is left out; one of another release
// belongs to the other scan.
void ReleaseScan::ScanInstance(const InstanceName& instance) const {
  const std::string base = kServerRoot + instance.identifier;
  const char* name = instance.name.c_str();
  FoundInstance found;
  found.cluster = ClusterName(base);
  if (!ReadHome(base, name, &found.home) || !ReadPort(base, name, &found.port)) return;
  found.version = ReadVersion(base, name);
  if (!checkMajorVersion(found.version, major_)) return;
  ReadParameters(base, name, &found);
  AddServer(instance, found);
}

// The cluster's virtual name, or the computer's name when the instance is not
// clustered.
std::string ReleaseScan::ClusterName(const std::string& base) const {
  std::string cluster;
  if (const auto key = Open(base + "\\Cluster"); key != nullptr) {
    if (findValue(*key, "ClusterName", kDataBuffer, &cluster) && is2008_) {
      localConfigLog(" Cluster Server is '%s' \n", cluster.c_str());
    }
  } else if (const char* computer = std::getenv("COMPUTERNAME"); computer != nullptr) {
    cluster = computer;
  }
  return cluster;
}

bool ReleaseScan::ReadHome(const std::string& base, const char* name, std::string* home) const {
  if (!is2008_) localConfigLog("Obtaining SQL Server 2005 instance home directory...");
  const auto key = Open(base + "\\Setup");
  if (key == nullptr) {
    Unable(base + "\\Setup", name);
    return false;
  }
  (void)findValue(*key, "SQLPath", kLongDataBuffer, home);
  if (!is2008_) localConfigLog("SQL Server '%s'; Home Directory: '%s'", name, home->c_str());
  return true;
}

bool ReleaseScan::ReadPort(const std::string& base, const char* name, std::string* port) const {
  const std::string port_key = base + (is2008_ ? "\\MSSQLSERVER\\SuperSocketNetLib\\TCP\\IPALL"
                                               : "\\MSSQLSERVER\\SuperSocketNetLib\\Tcp\\IPALL");
  if (!is2008_) {
    localConfigLog("Locating Server '%s' port dir: using key '%s'", name, port_key.c_str());
  }
  const auto key = Open(port_key);
  if (key == nullptr) {
    // The 2008 message names the wrong key; the log's readers know it so.
    localConfigLog(is2008_ ? "Reg Key for Setup NOT Found"
                           : "Unable to open key  for sql server 2005 PORT");
    return false;
  }
  // Leading digits as atoi reads them: of a list of ports ("1433,1434") the
  // first is the instance's.
  if (std::string data; findValue(*key, "TcpPort", kLongDataBuffer, &data)) {
    *port = std::to_string(std::atoi(data.c_str()));
  }
  return true;
}

std::string ReleaseScan::ReadVersion(const std::string& base, const char* name) const {
  std::string version;
  const std::string version_key = base + "\\MSSQLServer\\CurrentVersion";
  if (const auto key = Open(version_key); key != nullptr) {
    (void)findValue(*key, "CurrentVersion", kDataBuffer, &version);
  } else {
    Unable(version_key, name);
  }
  return version;
}

// The master data file (-d) and error log (-e) of the start-up parameters; a
// later value overrides an earlier one.
void ReleaseScan::ReadParameters(const std::string& base, const char* name,
                                 FoundInstance* found) const {
  if (!is2008_) localConfigLog("Obtaining SQL Server instance master file and errorlog paths...");
  const std::string parameters_key = base + "\\MSSQLServer\\Parameters";
  if (const auto key = Open(parameters_key); key != nullptr) {
    platform::RegValue value;
    for (uint32_t i = 0; enumValue(*key, i, kDataBuffer, &value) == platform::kRegSuccess; ++i) {
      const std::string parameter = trimmed(value.data);
      if (parameter.compare(0, 2, "-d") == 0) {
        found->master = parameter.substr(2);
      } else if (parameter.compare(0, 2, "-e") == 0) {
        found->errorlog = parameter.substr(2);
      }
    }
  } else {
    Unable(parameters_key, name);
  }
  if (!is2008_) {
    localConfigLog("SQL Server '%s'; Master File: '%s'; ERRORLOG File: '%s'", name,
                   found->master.c_str(), found->errorlog.c_str());
  }
}

void ReleaseScan::AddServer(const InstanceName& instance, const FoundInstance& found) const {
  auto server = std::make_unique<DbServerSql>();
  // The default instance is known by its cluster's (or the computer's) name.
  server->setServerName(instance.name == "MSSQLSERVER" ? found.cluster : instance.name);
  server->setHome(found.home);
  server->setVersion(found.version);
  server->setServiceName("MSSQLServer");
  server->setMasterDataFile(found.master);
  server->setErrorLogName(found.errorlog);
  server->setClusterName(found.cluster);
  server->setExtraText2("");
  server->setTcpPort(found.port);
  std::unique_ptr<DbServer> record = std::move(server);
  list_->add(record, ServerKind::kSqlServer);
  localConfigLog(is2008_ ? "SQL server 2008 Instance '%s' is found \n"
                         : "SQL Server 2005 instance '%s' is found \n",
                 instance.name.c_str());
}

}  // namespace

bool checkMajorVersion(const std::string& version, int major) {
  const size_t dot = version.find('.');
  // Leading digits as atoi reads them: "10abc.5" is release 10, "x.5" none.
  const int found = dot == std::string::npos ? 0 : std::atoi(version.substr(0, dot).c_str());
  return found == major;
}

void scanSqlServer2008(DbServerList* list, uint32_t options) {
  ReleaseScan(list, options, 10).Run();
}

void scanSqlServer2005(DbServerList* list, uint32_t options) {
  ReleaseScan(list, options, 9).Run();
}

void scanSqlServerInstances(DbServerList* list) {
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect(list->getMachine(), &hive);
  if (openForValues(hive.get(), "Software\\Wow6432Node", 0) == nullptr) {
    list->set64BitWindows(0);
    localConfigLog("Windows is 32-bit");
  } else {
    list->set64BitWindows(1);
    localConfigLog("Windows is 64-bit");
  }
  // Only 64-bit hosts are scanned: the agent is a 64-bit program and watches
  // 64-bit servers only.
  if (list->is64BitWindows() == 1) {
    localConfigLog("\n Checking SQL instances for 64 bit\n");
    scanSqlServer2008(list, platform::kKeyWow64_64Key);
    scanSqlServer2005(list, platform::kKeyWow64_64Key);
  }
  localConfigLog("Scanning Done ");
}

}  // namespace discovery
