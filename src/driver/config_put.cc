#include <string>

#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "driver/std_in.h"
#include "framework/config_parser.h"
#include "framework/trace.h"

namespace driver {

namespace {

int updateInstance(const std::string& instanceName, const VFW::InstanceConfig& instance) {
  Ras1Scope trace("updateInstance");
  RAS1_Printf(RAS1_DETAIL, "updateInstance",
              "Updating instance: InstConfig name '%s', instName '%s'", instance.getName().c_str(),
              instanceName.c_str());
  if (instance.getSection("DBSETTINGS") == nullptr) {
    REPORT_ERROR("Could not find config section to persist: %s", "DBSETTINGS");
    return 6;
  }
  const std::unique_ptr<DbServerList> discovered = getDbServerList();
  if (discovered == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbServerList returned");
    return 100;
  }
  const std::unique_ptr<DbConfigList> configured = getDbConfigList(instanceName);
  if (configured == nullptr) {
    REPORT_ERROR("ERROR: NULL DbConfigList returned");
    return 101;
  }
  return 0;
}

}  // namespace

int doConfigPut(const char* msn) {
  Ras1Scope trace("doConfigPut");
  std::string stream;
  readStdIn(&stream);
  VFW::AgentConfig config;
  if (!VFW::ConfigParser::parseConfigFromStream(stream, &config)) {
    REPORT_ERROR_INDENTED("Error parsing config stream");
    return 4;
  }
  const std::vector<std::string> names = config.getInstanceNames();
  if (names.empty()) {
    REPORT_ERROR_INDENTED("Error parsing config stream");
    return 4;
  }
  const VFW::InstanceConfig& first = *config.getInstance(names.front());
  if (msn == nullptr) return updateInstance(first.getName(), first);
  std::string instance;
  if (!getInstanceName(msn, &instance)) {
    REPORT_ERROR("Invalid format for MSN: %s.", msn);
    return 2;
  }
  return updateInstance(instance, first);
}

}  // namespace driver
