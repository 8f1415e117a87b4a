// Checks of the settings a put brings, by server kind. Each validator stops at
// its first failure.
#pragma once

#include <string>

#include "framework/agent_config.h"

namespace driver {

inline constexpr int VDB_RC_OK = 0;
inline constexpr int VDB_RC_MISSING_PROPERTY = 4;
inline constexpr int VDB_RC_BAD_VERSION = 106;
inline constexpr int VDB_RC_BAD_HOME = 107;
inline constexpr int VDB_RC_BAD_ERRLOG = 108;

// The "DBSETTINGS" section of `instance` checked for the current server kind.
[[nodiscard]] int validateCfgParms(const VFW::InstanceConfig& instance);
[[nodiscard]] int validateMsSqlCfgParms(const VFW::ConfigSection& settings);
[[nodiscard]] int validateOracleCfgParms(const VFW::ConfigSection& settings);
[[nodiscard]] int validateSybaseCfgParms(const VFW::ConfigSection& settings);

// 0 when the file can be read (reported as valid), 1 otherwise.
int checkFileExists(const std::string& path);

// The major version of a "db_ver" value: the digits before its first ".".
[[nodiscard]] int majorVersion(const std::string& version, std::string* copied);

}  // namespace driver
