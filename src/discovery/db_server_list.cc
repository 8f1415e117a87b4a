#include "discovery/db_server_list.h"

#include <cstdarg>
#include <cstdio>

#include "platform/text_format.h"
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

const std::vector<std::unique_ptr<DbServer>>* DbServerList::list(ServerKind kind) const {
  const int slot = support::KindNumber(kind);
  return slot >= 0 && slot < kKindSlots ? &lists_[static_cast<size_t>(slot)] : nullptr;
}

int DbServerList::count(ServerKind kind) const {
  const auto* servers = list(kind);
  return servers != nullptr ? static_cast<int>(servers->size()) : 0;
}

DbServer* DbServerList::at(int index, ServerKind kind) const {
  const auto* servers = list(kind);
  if (servers == nullptr || index < 0 || index >= static_cast<int>(servers->size())) return nullptr;
  return (*servers)[static_cast<size_t>(index)].get();
}

int DbServerList::add(std::unique_ptr<DbServer>& server, ServerKind kind) {
  const int slot = support::KindNumber(kind);
  if (slot < 0 || slot >= kKindSlots || server == nullptr) return count(kind);
  auto& servers = lists_[static_cast<size_t>(slot)];
  if (static_cast<int>(servers.size()) >= kMaxServersPerKind) return count(kind);
  servers.push_back(std::move(server));
  return count(kind);
}

DbServer* DbServerList::find(const std::string& name, ServerKind kind) const {
  const auto* servers = list(kind);
  if (servers == nullptr) return nullptr;
  for (const auto& server : *servers) {
    if (str_icmp(server->getServerName().c_str(), name.c_str()) == 0) return server.get();
  }
  return nullptr;
}

void DbServerList::readDetails(ServerKind kind) {
  const auto* servers = list(kind);
  if (servers == nullptr) return;
  for (const auto& server : *servers) server->readDetails();
}

void DbServerList::print(ServerKind kind) const {
  const support::KindNames* names = support::NamesOf(kind);
  if (names == nullptr) return;
  std::printf("\n\n\t\t\tList of %s Server found on the system\n", names->title);
  std::printf("\t\t=======================================================\n");
  const auto& servers = *list(kind);
  for (size_t i = 0; i < servers.size(); ++i) {
    std::printf("\t\t%d) %s\n", static_cast<int>(i + 1), servers[i]->getServerName().c_str());
  }
}

void discoveryTrace(const char* format, ...) {
  if (!g_verbose) return;
  std::va_list args;
  va_start(args, format);
  const std::string text = platform::vformat(format, args);
  va_end(args);
  std::printf("%s\n", text.c_str());
}

void setDiscoveryVerbose(bool on) { g_verbose = on; }

}  // namespace discovery
