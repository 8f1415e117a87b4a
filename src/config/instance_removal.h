// Removal of an agent instance's artefacts: its files, and its registry key and
// Windows services. Reports go to the debug printer (the discovery module's
// console trace), which the driver turns off.
#pragma once

#include <string>

#include "platform/registry.h"
#include "support/server_kind.h"

namespace discovery {
class DbServerList;
}

namespace config {

using support::ServerKind;

// Deletes the instance's management-agent .ini file and start-up .bat file in
// `directory`; kind 4 has none.
void RemoveInstanceFiles(ServerKind kind, const std::string& directory, const std::string& name);

// Deletes the instance's registry key and its two services.
void RemoveInstanceKey(ServerKind kind, const std::string& name, int serviceNumber);

// The same for every server of the kind that `servers` holds, each under its
// server name: the files in `directory`; the keys, then the services of every
// service number a kind can have.
void RemoveDiscoveredInstanceFiles(const discovery::DbServerList& servers, ServerKind kind,
                                   const std::string& directory);
void RemoveDiscoveredInstanceKeys(const discovery::DbServerList& servers, ServerKind kind);

// Deletes a key with all its subkeys: 1 on success, 0 on failure.
[[nodiscard]] int DeleteRegistryTree(platform::Registry* root, const std::string& path);

// Stops a service and waits at most 90 seconds for it: 1 stopped (or not
// running), 0 failure, 1460 when it did not stop in time.
unsigned long StopServiceAndWait(const std::string& serviceName);
// Deletes a service: 1 deleted or absent, 0 failure.
int RemoveService(const std::string& serviceName);
// Stops and deletes "<prefix>COLL<number>" and "<prefix>AGENT<number>".
void RemoveServices(const std::string& prefix, int number);

}  // namespace config
