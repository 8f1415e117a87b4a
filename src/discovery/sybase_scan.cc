#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "discovery/other_discovery.h"
#include "discovery/registry_lookup.h"
#include "platform/registry.h"

namespace discovery {

namespace {

// A start-up argument without its option letter and dash ("-sSYB1" gives "SYB1").
std::string ArgumentValue(platform::RegistryKey& key, const char* name) {
  std::string data;
  (void)findValue(key, name, kDataBuffer, &data);
  return data.size() > 2 ? data.substr(2) : "";
}

}  // namespace

void scanSybaseServers(DbServerList* list) {
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect(list->getMachine(), &hive);
  const auto sql_server = openForValues(hive.get(), "Software\\Sybase\\SQLServer", 0);
  if (sql_server == nullptr) return;
  std::string root;
  std::string version;
  (void)findValue(*sql_server, "RootDir", kDataBuffer, &root);
  (void)findValue(*sql_server, "CurrentVersion", kDataBuffer, &version);

  const std::string servers_path = "Software\\Sybase\\Server";
  std::unique_ptr<platform::RegistryKey> servers;
  if (hive->OpenKey(servers_path, platform::kKeyEnumerateSubKeys, &servers) !=
      platform::kRegSuccess) {
    return;
  }
  std::vector<std::string> kept;
  std::string name;
  for (uint32_t i = 0; servers->EnumSubKey(i, &name) == platform::kRegSuccess; ++i) {
    const auto server = openForValues(hive.get(), servers_path + "\\" + name, 0);
    platform::RegValue type;
    if (server != nullptr && server->QueryValue("ServerType", &type) == platform::kRegSuccess &&
        type.data == "SQLServer") {
      kept.push_back(name);
    }
  }

  for (const std::string& server_key : kept) {
    const auto parameters =
        openForValues(hive.get(), servers_path + "\\" + server_key + "\\Parameters", 0);
    if (parameters == nullptr) continue;
    auto server = std::make_unique<DbServerSyb>();
    const std::string server_name = ArgumentValue(*parameters, "Arg1");
    server->setServerName(server_name);
    server->setHome(root);
    server->setVersion(version);
    server->setServiceName("Sybase SQLServer_" + server_name);
    // The first added field has no source among the parameters: it stays empty.
    server->setAddedText2(ArgumentValue(*parameters, "Arg0"));
    server->setErrorLogName(ArgumentValue(*parameters, "Arg2"));
    std::unique_ptr<DbServer> record = std::move(server);
    list->add(record, ServerKind::kSybase);
  }
}

}  // namespace discovery
