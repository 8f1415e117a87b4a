#include "support/server_kind.h"

namespace support {

namespace {

ServerKind g_server_kind = ServerKind::kNone;

// clang-format off
constexpr KindNames kKinds[] = {
    {ServerKind::kOracle, "Oracle", "VOR", "610", "vorinc.ini", "VORMMA_", "Oracle_",
     "vormma.ini", "Software\\Marlox\\VOR\\610\\", "[VMAOracleAgent", "VOR", true},
    {ServerKind::kSybase, "Sybase", "VSY", "610", "vsyinc.ini", "VSYMMA_", "Sybase_",
     "vsymma.ini", "Software\\Marlox\\VSY\\610\\", "[VMASybaseAgent", "VSY", true},
    {ServerKind::kSqlServer, "MSSQL", "VSQ", "610", "vsqinc.ini", "VSQMMA_", "MSMSQL_",
     "vsqmma.ini", "Software\\Marlox\\VSQ\\610\\", "[VMAMSSQLAgent", "VSQ", true},
    // The Informix agent's services carry the SQL Server prefix.
    {ServerKind::kInformix, "INFORMIX", "VIX", "301", "vixinc.ini", "VIXMMA_", "Informix_",
     nullptr, nullptr, "[VMAInformixAgent", "VSQ", false},
};
// clang-format on

}  // namespace

const KindNames* NamesOf(ServerKind kind) {
  for (const KindNames& names : kKinds) {
    if (names.kind == kind) return &names;
  }
  return nullptr;
}

std::string DefaultTnsAdmin(const std::string& oracle_home) {
  return oracle_home + "\\network\\admin";
}

ServerKind GetServerKind() { return g_server_kind; }

void SetServerKind(ServerKind kind) { g_server_kind = kind; }

}  // namespace support
