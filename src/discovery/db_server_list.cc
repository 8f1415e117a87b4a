#include "discovery/db_server_list.h"

#include <cstdarg>
#include <cstdio>

#include "support/strings.h"

namespace discovery {

namespace {
bool g_verbose = true;
}  // namespace

DbServerList::~DbServerList() {
  for (auto& servers : lists_) {
    while (!servers.empty()) servers.pop_back();
  }
}

const std::vector<std::unique_ptr<DbServer>>* DbServerList::list(int kind) const {
  return kind >= 0 && kind < kKindSlots ? &lists_[static_cast<size_t>(kind)] : nullptr;
}

int DbServerList::count(int kind) const {
  const auto* servers = list(kind);
  return servers != nullptr ? static_cast<int>(servers->size()) : 0;
}

DbServer* DbServerList::at(int index, int kind) const {
  const auto* servers = list(kind);
  if (servers == nullptr || index < 0 || index >= static_cast<int>(servers->size())) return nullptr;
  return (*servers)[static_cast<size_t>(index)].get();
}

int DbServerList::add(std::unique_ptr<DbServer>& server, int kind) {
  if (kind < 0 || kind >= kKindSlots || server == nullptr) return count(kind);
  auto& servers = lists_[static_cast<size_t>(kind)];
  if (static_cast<int>(servers.size()) >= kMaxServersPerKind) return count(kind);
  servers.push_back(std::move(server));
  return count(kind);
}

DbServer* DbServerList::find(const std::string& name, int kind) const {
  const auto* servers = list(kind);
  if (servers == nullptr) return nullptr;
  for (const auto& server : *servers) {
    if (str_icmp(server->getServerName().c_str(), name.c_str()) == 0) return server.get();
  }
  return nullptr;
}

void DbServerList::readDetails(int kind) {
  if (kind < 0 || kind >= kKindSlots) return;
  for (auto& server : lists_[static_cast<size_t>(kind)]) server->readDetails();
}

void DbServerList::print(int kind) const {
  static const char* const kTitles[] = {nullptr, "Oracle", "Sybase", "MSSQL", "INFORMIX"};
  if (kind < 1 || kind > 4) return;
  std::printf("\n\n\t\t\tList of %s Server found on the system\n", kTitles[kind]);
  std::printf("\t\t=======================================================\n");
  const auto& servers = lists_[static_cast<size_t>(kind)];
  for (size_t i = 0; i < servers.size(); ++i) {
    std::printf("\t\t%d) %s\n", static_cast<int>(i + 1), servers[i]->getServerName().c_str());
  }
}

void discoveryTrace(const char* format, ...) {
  if (!g_verbose) return;
  char buffer[1024];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  std::printf("%s\n", buffer);
}

void setDiscoveryVerbose(bool on) { g_verbose = on; }

}  // namespace discovery
