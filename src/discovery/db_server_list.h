// The database servers discovered on a machine: one bounded list per server
// kind, owning its records.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "discovery/db_server.h"
#include "platform/printf_format.h"
#include "support/server_kind.h"

namespace discovery {

using support::ServerKind;

inline constexpr int kMaxServersPerKind = 50;
inline constexpr int kKindSlots = 50;

class DbServerList {
 public:
  explicit DbServerList(std::string machine) : machine_(std::move(machine)) {}
  virtual ~DbServerList();
  DbServerList(const DbServerList&) = delete;
  DbServerList& operator=(const DbServerList&) = delete;

  [[nodiscard]] const std::string& getMachine() const { return machine_; }
  [[nodiscard]] int count(ServerKind kind) const;
  [[nodiscard]] DbServer* at(int index, ServerKind kind) const;
  // Appends `server` under `kind` and takes it; a full list refuses it (the
  // caller keeps it) and answers the current count.
  int add(std::unique_ptr<DbServer>& server, ServerKind kind);
  // The first server of the kind whose name matches without regard to case.
  [[nodiscard]] DbServer* find(const std::string& name, ServerKind kind) const;
  void readDetails(ServerKind kind);
  // Writes the kind's servers to standard output; kinds other than 1 to 4 print nothing.
  void print(ServerKind kind) const;

  [[nodiscard]] int is64BitWindows() const { return is_64bit_windows_; }
  void set64BitWindows(int value) { is_64bit_windows_ = value; }

 private:
  [[nodiscard]] const std::vector<std::unique_ptr<DbServer>>* list(ServerKind kind) const;

  std::string machine_;
  std::array<std::vector<std::unique_ptr<DbServer>>, kKindSlots> lists_;
  int is_64bit_windows_ = 0;
};

// The module's console trace: a line on standard output while the verbose
// switch is on (it starts on; the driver turns it off before discovery).
void discoveryTrace(const char* format, ...) SQXA_PRINTF(1, 2);
void setDiscoveryVerbose(bool on);

}  // namespace discovery
