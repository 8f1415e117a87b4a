#include "config/instance_files.h"

namespace config {

const InstanceFileNames* InstanceFilesOf(int kind) {
  static const InstanceFileNames kNames[] = {
      {"vorinc.ini", "VORMMA_", "Oracle_", "Software\\Marlox\\VOR\\610\\", "[VMAOracleAgent",
       "VOR"},
      {"vsyinc.ini", "VSYMMA_", "Sybase_", "Software\\Marlox\\VSY\\610\\", "[VMASybaseAgent",
       "VSY"},
      {"vsqinc.ini", "VSQMMA_", "MSMSQL_", "Software\\Marlox\\VSQ\\610\\", "[VMAMSSQLAgent", "VSQ"},
      {nullptr, "VIXMMA_", nullptr, nullptr, "[VMAInformixAgent", "VSQ"},
  };
  return kind >= 1 && kind <= 4 ? &kNames[kind - 1] : nullptr;
}

}  // namespace config
