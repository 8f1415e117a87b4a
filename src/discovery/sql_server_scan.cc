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

// One scan: the 2008 scan (major version 10) or the 2005 scan (9), which differ
// in their messages and in the spelling of the port key.
void ScanRelease(DbServerList* list, uint32_t options, int major) {
  const bool is2008 = major == 10;
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect(list->getMachine(), &hive);

  if (openForValues(hive.get(), std::string(kServerRoot) + (is2008 ? "100" : "90"), options) ==
      nullptr) {
    localConfigLog(is2008 ? "SQL Server 2008 is Not Installed. hkey_options:%d"
                          : "SQL Server 2005 is Not Installed. hkey_options:%d",
                   static_cast<int>(options));
    return;
  }
  localConfigLog(is2008 ? "SQL Server 2008 Reg key found. hkey_options:%d"
                        : "SQL Server 2005 key found. hkey_options:%d",
                 static_cast<int>(options));

  std::vector<InstanceName> instances;
  if (!ReadInstanceNames(hive.get(), options, &instances)) {
    localConfigLog(is2008 ? "SQL Server 2008 Reg Key for Instance names NOT found"
                          : "Reg key not found for sql server 2005 instances");
    return;
  }

  for (const InstanceName& instance : instances) {
    const std::string base = kServerRoot + instance.identifier;
    const char* name = instance.name.c_str();
    const auto unable = [name](const std::string& key) {
      localConfigLog(
          "Unable to Open the Reg Key '%s' for instance '%s';So this instance will not be added",
          key.c_str(), name);
    };

    std::string cluster;
    if (const auto key = openForValues(hive.get(), base + "\\Cluster", options); key != nullptr) {
      if (findValue(*key, "ClusterName", kDataBuffer, &cluster) && is2008) {
        localConfigLog(" Cluster Server is '%s' \n", cluster.c_str());
      }
    } else if (const char* computer = std::getenv("COMPUTERNAME"); computer != nullptr) {
      cluster = computer;
    }

    if (!is2008) localConfigLog("Obtaining SQL Server 2005 instance home directory...");
    std::string home;
    if (const auto key = openForValues(hive.get(), base + "\\Setup", options); key != nullptr) {
      (void)findValue(*key, "SQLPath", kLongDataBuffer, &home);
    } else {
      unable(base + "\\Setup");
      continue;
    }
    if (!is2008) localConfigLog("SQL Server '%s'; Home Directory: '%s'", name, home.c_str());

    const std::string port_key = base + (is2008 ? "\\MSSQLSERVER\\SuperSocketNetLib\\TCP\\IPALL"
                                                : "\\MSSQLSERVER\\SuperSocketNetLib\\Tcp\\IPALL");
    if (!is2008) {
      localConfigLog("Locating Server '%s' port dir: using key '%s'", name, port_key.c_str());
    }
    std::string port;
    if (const auto key = openForValues(hive.get(), port_key, options); key != nullptr) {
      std::string data;
      if (findValue(*key, "TcpPort", kLongDataBuffer, &data)) {
        port = std::to_string(std::atoi(data.c_str()));
      }
    } else {
      // The 2008 message names the wrong key; the log's readers know it so.
      localConfigLog(is2008 ? "Reg Key for Setup NOT Found"
                            : "Unable to open key  for sql server 2005 PORT");
      continue;
    }

    std::string version;
    const std::string version_key = base + "\\MSSQLServer\\CurrentVersion";
    if (const auto key = openForValues(hive.get(), version_key, options); key != nullptr) {
      (void)findValue(*key, "CurrentVersion", kDataBuffer, &version);
    } else {
      unable(version_key);
    }
    if (!checkMajorVersion(version, major)) continue;  // another release's instance

    if (!is2008) localConfigLog("Obtaining SQL Server instance master file and errorlog paths...");
    std::string master;
    std::string errorlog;
    const std::string parameters_key = base + "\\MSSQLServer\\Parameters";
    if (const auto key = openForValues(hive.get(), parameters_key, options); key != nullptr) {
      platform::RegValue value;
      for (uint32_t i = 0; enumValue(*key, i, kDataBuffer, &value) == platform::kRegSuccess; ++i) {
        const std::string parameter = trimmed(value.data);
        if (parameter.compare(0, 2, "-d") == 0) {
          master = parameter.substr(2);
        } else if (parameter.compare(0, 2, "-e") == 0) {
          errorlog = parameter.substr(2);
        }
      }
    } else {
      unable(parameters_key);
    }
    if (!is2008) {
      localConfigLog("SQL Server '%s'; Master File: '%s'; ERRORLOG File: '%s'", name,
                     master.c_str(), errorlog.c_str());
    }

    auto server = std::make_unique<DbServerSql>();
    // The default instance is known by its cluster's (or the computer's) name.
    server->setServerName(instance.name == "MSSQLSERVER" ? cluster : instance.name);
    server->setHome(home);
    server->setVersion(version);
    server->setServiceName("MSSQLServer");
    server->setMasterDataFile(master);
    server->setErrorLogName(errorlog);
    server->setClusterName(cluster);
    server->setExtraText2("");
    server->setTcpPort(port);
    std::unique_ptr<DbServer> record = std::move(server);
    list->add(record, ServerKind::kSqlServer);
    localConfigLog(is2008 ? "SQL server 2008 Instance '%s' is found \n"
                          : "SQL Server 2005 instance '%s' is found \n",
                   name);
  }
}

}  // namespace

bool checkMajorVersion(const std::string& version, int major) {
  const size_t dot = version.find('.');
  const int found = dot == std::string::npos ? 0 : std::atoi(version.substr(0, dot).c_str());
  return found == major;
}

void scanSqlServer2008(DbServerList* list, uint32_t options) { ScanRelease(list, options, 10); }

void scanSqlServer2005(DbServerList* list, uint32_t options) { ScanRelease(list, options, 9); }

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
