// The configured servers of a run, grouped by server kind, with the run's
// configuration log, the output channels of the files being generated and the
// product's install settings.
#pragma once

#include <array>
#include <cstdarg>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/db_config.h"
#include "platform/printf_format.h"
#include "support/config_log.h"
#include "support/server_kind.h"

namespace discovery {
class DbServer;
}

namespace config {

using support::Channel;
using support::ServerKind;

inline constexpr int kConfigKindSlots = 50;
// Service numbers run from 0 below this bound for every kind 1 to 4.
inline constexpr int kMaxInstancesPerKind = 50;
[[nodiscard]] int VDBServerMaxInstances(ServerKind kind);

// The forms in which the install settings are written; the numbers are those
// of the agent's own settings routines.
enum class PathForm : int {
  kStored = 0,    // as set
  kResolved = 1,  // with the default of an empty setting
  kAtSign = 2,    // "@ETCPATH@"
  kPercent = 3,   // "%ETCPATH%"
};

class DbConfigList {
 public:
  DbConfigList();
  virtual ~DbConfigList();
  DbConfigList(const DbConfigList&) = delete;
  DbConfigList& operator=(const DbConfigList&) = delete;

  // --- Records (each operation works on one kind's array) ---
  [[nodiscard]] int GetCount(ServerKind kind) const;
  [[nodiscard]] DbConfig* GetAt(int index, ServerKind kind) const;
  // Takes the record; answers its index.
  int Add(std::unique_ptr<DbConfig> record, ServerKind kind);
  // Removes and destroys the record when it is in the kind's array.
  void Delete_Config(const DbConfig* record, ServerKind kind);
  [[nodiscard]] int HasServer(const std::string& name, ServerKind kind) const;
  [[nodiscard]] DbConfig* FindServer(const discovery::DbServer& server, ServerKind kind) const;
  [[nodiscard]] DbConfig* FindConfig(const DbConfig& record, ServerKind kind) const;
  // The first record whose name is exactly `name`.
  [[nodiscard]] DbConfig* FindByName(const std::string& name, ServerKind kind) const;
  int PrintServers(ServerKind kind);
  void PrintConfigs(ServerKind kind);

  // --- The configuration log and the output channels ---
  int OpenLog(const std::string& path, int* error = nullptr) { return log_.OpenLog(path, error); }
  void CloseLog() { log_.CloseLog(); }
  void SetConsole(int console) { log_.SetConsole(console); }
  void LogTimestamped(const char* text) { log_.LogTimestamped(text); }
  void Output(Channel channel, const char* format, ...) SQXA_PRINTF(3, 4);
  [[nodiscard]] support::ConfigLog& Log() { return log_; }

  [[nodiscard]] int GetCommonCollector() const { return common_collector_; }
  void SetCommonCollector(int value) { common_collector_ = value; }

  // --- Install settings ---
  void SetEtcDir(const char* variable);
  void SetLogDir(const char* variable);
  void SetBinDir(const char* variable);
  void SetDllDir(const char* variable);
  void SetPortNumber(const char* variable);
  void SetHostName(const char* variable);
  void SetSecondHostName(const char* variable);
  [[nodiscard]] std::string GetEtcDir(PathForm form) const;
  [[nodiscard]] std::string GetLogDir(PathForm form) const;
  [[nodiscard]] std::string GetPortNumber(PathForm form) const;
  [[nodiscard]] std::string GetBinDir(PathForm form) const;
  [[nodiscard]] std::string GetDllDir(PathForm form) const;
  [[nodiscard]] const std::string& GetHostName() const { return host_name_; }
  // 1 when `homeDir` is not the home of the default SQL Server instance.
  [[nodiscard]] int IsNamedInstance(const std::string& homeDir);
  // Reads install directories of the product from a machine's registry into the
  // process-wide overrides of the setters.
  void ReadInstallDirs(const char* machine);

  // --- Configured instances ---
  // The instance names the include file lists (whose .ini files exist).
  int GetPreConfigList(ServerKind kind, std::vector<std::string>* names);
  // Rebuilds the kind's records from the include file and the registry: 0, or
  // the errno value of an include file or a listed instance file that is there
  // but cannot be read (the list is then incomplete and must not be written).
  [[nodiscard]] int ScanPreConfig(ServerKind kind);

  // --- Service numbers ---
  [[nodiscard]] int GetServiceNumber(ServerKind kind, const DbConfig& record);
  [[nodiscard]] int GetAvailServiceNumber(ServerKind kind);
  int GetAvailServiceNumberbyConfigType(ServerKind kind, int ignored);

 private:
  struct ListedInstance {
    std::string name;       // as the include line gives it
    std::string file_name;  // the name in its instance file's name
  };
  // The instances the include file lists: 0, or why it could not be read.
  [[nodiscard]] int ReadIncludeFile(ServerKind kind, std::vector<ListedInstance>* listed);
  // Adds the instance one line of the include file names: 0, or why its
  // instance file could not be read.
  [[nodiscard]] int ReadIncludeLine(std::string_view line, const std::string& prefix,
                                    std::string_view stem, std::vector<ListedInstance>* listed);
  void OutputV(Channel channel, const char* format, std::va_list args) SQXA_PRINTF(3, 0);
  void DumpConfig(const DbConfig& record, ServerKind kind);
  [[nodiscard]] std::vector<std::unique_ptr<DbConfig>>* Records(ServerKind kind);
  [[nodiscard]] const std::vector<std::unique_ptr<DbConfig>>* Records(ServerKind kind) const;

  std::string host_name_;
  std::string second_host_name_;
  std::string port_number_;
  std::string etc_dir_;
  std::string log_dir_;
  std::string bin_dir_;
  std::string dll_dir_;
  support::ConfigLog log_;
  int common_collector_ = 0;
  std::array<std::vector<std::unique_ptr<DbConfig>>, kConfigKindSlots> records_;
};

}  // namespace config
