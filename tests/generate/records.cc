#include "common/host_registry.h"
#include "generate/generate_test_home.h"

namespace generate {

namespace {

void CommonFields(config::DbConfig* record, int kind, const std::string& name) {
  record->setServerType(kind);
  record->setServerName(name);
  record->setLoginName("monitor");
  record->setPassword("{AES256:keyfile:a}c2VjcmV0");
  record->setErrorLog("D:\\logs\\" + name + ".log");
}

}  // namespace

config::DbConfig SqlServerRecord(const std::string& name, const std::string& home) {
  config::DbConfig record;
  CommonFields(&record, 3, name);
  record.setHomeDir(home);
  record.setVersion("10.50.1600.1");
  record.setClusterServer("NODE7");
  record.setIncludeDbNames("master,model");
  record.setPort("1433");
  record.setLongLiveConnect("YES");
  record.setWinAuthentication("NO");
  record.setTbldDailyFrequency(1);
  record.setTbldWeeklyFrequency(2);
  record.setTbldMonthlyFrequency(3);
  record.setTbldCtimeHrs(4);
  record.setTbldCtimeMins(5);
  record.setErrorlogStartupMaxTime(6);
  record.setErrorlogStartupMaxEventRow(7);
  record.setErrorlogMaxEventRow(8);
  return record;
}

config::DbConfig OracleRecord(const std::string& name, const std::string& version,
                              const std::string& tns_admin) {
  config::DbConfig record;
  CommonFields(&record, 1, name);
  record.setHomeDir("C:\\oracle\\ora" + version);
  record.setVersion(version);
  record.setTnsAdmin(tns_admin);
  record.setExtendedParams("1");
  return record;
}

config::DbConfig SybaseRecord(const std::string& name, const std::string& version) {
  config::DbConfig record;
  CommonFields(&record, 2, name);
  record.setHomeDir("C:\\sybase");
  record.setVersion(version);
  record.setOcsDir("C:\\sybase\\OCS-15_0");
  return record;
}

config::DbConfig InformixRecord(const std::string& name, int service_number) {
  config::DbConfig record;
  CommonFields(&record, 4, name);
  record.setHomeDir("C:\\informix");
  record.setVersion("11.70");
  record.setServiceNumber(service_number);
  return record;
}

std::string DefaultHomeRegistry() {
  return "Windows Registry Editor Version 5.00\n\n"
         "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\Setup]\n"
         "\"SQLPath\"=\"" +
         sqxa_test::RegEscape(kDefaultSqlHome) + "\"\n\n";
}

}  // namespace generate
