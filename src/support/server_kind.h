// The kind of database server this run configures: a process-wide value that
// main sets once from the product code and every library routine reads.
#pragma once

inline constexpr int kServerOracle = 1;
inline constexpr int kServerSybase = 2;
inline constexpr int kServerSqlServer = 3;
inline constexpr int kServerInformix = 4;

[[nodiscard]] int GetServerKind();
void SetServerKind(int kind);
