// The configuration of one monitored database server as the agent knows it.
#pragma once

#include <string>

namespace discovery {
class DbServer;
}

namespace config {

// ConfigType values.
inline constexpr int kConfigScanned = 1;  // found configured by the scan
inline constexpr int kConfigChanged = 2;  // configured and changed
inline constexpr int kConfigNew = 3;      // to be created ("CONFIG_NEW")
inline constexpr int kConfigNone = 4;     // not configured

class DbConfig {
 public:
  DbConfig() = default;
  // Takes kind, name, service key, error log, home, version, configuration file,
  // cluster server, extended parameters, TNS_ADMIN and port from the server.
  explicit DbConfig(const discovery::DbServer& server);
  DbConfig(const DbConfig&) = default;
  DbConfig& operator=(const DbConfig&) = default;
  virtual ~DbConfig() = default;

  // Name, error log, service key, home directory (exactly), service number and
  // port: 1 when all are equal, else 0 / 0 when all are equal, else -1.
  [[nodiscard]] int isEqual(const DbConfig& other) const;
  [[nodiscard]] int compare(const DbConfig& other) const;

  // Names enter a record only here: blanks at either end are dropped, since the
  // name becomes part of file names and registry keys.
  void setServerName(const std::string& name);
  [[nodiscard]] std::string getServerName() const { return server_name_; }

#define SQXA_TEXT(Name, member)                                \
  void set##Name(const std::string& value) { member = value; } \
  [[nodiscard]] std::string get##Name() const { return member; }
#define SQXA_NUMBER(Name, member)               \
  void set##Name(int value) { member = value; } \
  [[nodiscard]] int get##Name() const { return member; }
  SQXA_NUMBER(ServerType, server_type_)
  SQXA_TEXT(ServiceKey, service_key_)
  SQXA_TEXT(ErrorLog, error_log_)
  SQXA_TEXT(HomeDir, home_dir_)
  SQXA_TEXT(Version, version_)
  SQXA_TEXT(ConfigFile, config_file_)
  SQXA_TEXT(LoginName, login_name_)
  SQXA_TEXT(Password, password_)
  SQXA_TEXT(ClusterServer, cluster_server_)
  SQXA_TEXT(OcsDir, ocs_dir_)
  SQXA_TEXT(ExtendedParams, extended_params_)
  SQXA_TEXT(TnsAdmin, tns_admin_)
  SQXA_TEXT(WinAuthentication, win_authentication_)
  SQXA_TEXT(LongLiveConnect, long_live_connect_)
  SQXA_NUMBER(ConfigType, config_type_)
  SQXA_NUMBER(ServiceNumber, service_number_)
  SQXA_TEXT(IncludeDbNames, include_db_names_)
  SQXA_TEXT(Port, port_)
  SQXA_NUMBER(TbldDailyFrequency, tbld_daily_frequency_)
  SQXA_NUMBER(TbldWeeklyFrequency, tbld_weekly_frequency_)
  SQXA_NUMBER(TbldMonthlyFrequency, tbld_monthly_frequency_)
  SQXA_NUMBER(TbldCtimeHrs, tbld_ctime_hrs_)
  SQXA_NUMBER(TbldCtimeMins, tbld_ctime_mins_)
  SQXA_NUMBER(ErrorlogStartupMaxEventRow, errorlog_startup_max_event_row_)
  SQXA_NUMBER(ErrorlogStartupMaxTime, errorlog_startup_max_time_)
  SQXA_NUMBER(ErrorlogMaxEventRow, errorlog_max_event_row_)
#undef SQXA_TEXT
#undef SQXA_NUMBER

  // Whether the scan found the instance's registration. One that the include
  // file lists without it is named after its file and kept in the list, so
  // that it can be put and removed, but it has no settings to give.
  void setRegistered(bool registered) { registered_ = registered; }
  [[nodiscard]] bool isRegistered() const { return registered_; }

 private:
  int server_type_ = 5;  // 5: no kind yet
  std::string server_name_;
  std::string service_key_;
  std::string error_log_;
  std::string home_dir_;
  std::string version_;
  std::string config_file_;
  std::string login_name_;
  std::string password_;
  std::string cluster_server_;
  std::string ocs_dir_;
  std::string extended_params_;
  std::string tns_admin_;
  std::string win_authentication_;
  std::string long_live_connect_;
  int config_type_ = kConfigNone;
  int service_number_ = -1;
  std::string include_db_names_;
  std::string port_;
  int tbld_daily_frequency_ = 0;
  int tbld_weekly_frequency_ = 0;
  int tbld_monthly_frequency_ = 0;
  int tbld_ctime_hrs_ = 0;
  int tbld_ctime_mins_ = 0;
  int errorlog_startup_max_event_row_ = 0;
  int errorlog_startup_max_time_ = 0;
  int errorlog_max_event_row_ = 50;
  bool registered_ = true;
};

}  // namespace config
