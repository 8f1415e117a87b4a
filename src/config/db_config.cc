#include "config/db_config.h"

#include "discovery/db_server.h"

namespace config {

DbConfig::DbConfig(const discovery::DbServer& server)
    : server_type_(static_cast<int>(server.getKind())),
      service_key_(server.getServiceName()),
      error_log_(server.getErrorLogName()),
      home_dir_(server.getHome()),
      version_(server.getVersion()),
      config_file_(server.getExtraText1()),
      cluster_server_(server.getClusterName()),
      extended_params_(server.getExtraText2()),
      tns_admin_(server.getExtraText3()),
      port_(server.getTcpPort()) {
  setServerName(server.getServerName());
}

void DbConfig::setServerName(const std::string& name) {
  const size_t first = name.find_first_not_of(" \t");
  server_name_ = first == std::string::npos
                     ? ""
                     : name.substr(first, name.find_last_not_of(" \t") - first + 1);
}

int DbConfig::isEqual(const DbConfig& other) const {
  return server_name_ == other.server_name_ && error_log_ == other.error_log_ &&
                 service_key_ == other.service_key_ && home_dir_ == other.home_dir_ &&
                 service_number_ == other.service_number_ && port_ == other.port_
             ? 1
             : 0;
}

int DbConfig::compare(const DbConfig& other) const { return isEqual(other) == 1 ? 0 : -1; }

}  // namespace config
