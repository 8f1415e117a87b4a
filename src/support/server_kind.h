// The kinds of database server the library configures, and everything that
// differs between them by name: one row per kind, read by the scan, the file
// writers, the removal and the command driver alike. A new kind is a new
// enumerator, a new row here, and its writers in generate/.
#pragma once

#include <string>

namespace support {

// The numbers are those the agent's files and the command line use.
enum class ServerKind : int {
  kNone = 0,
  kOracle = 1,
  kSybase = 2,
  kSqlServer = 3,
  kInformix = 4,
};

[[nodiscard]] constexpr int KindNumber(ServerKind kind) { return static_cast<int>(kind); }

// The names of a kind's agent files, registry key and services.
struct KindNames {
  ServerKind kind;
  const char* title;           // in the log's list dumps
  const char* product;         // the agent's product code ("VSQ")
  const char* version;         // the agent's product version ("610")
  const char* include_file;    // lists the instance .ini files, in the etc directory
  const char* ini_stem;        // instance .ini file: stem + name + ".ini"
  const char* bat_stem;        // instance start-up file: stem + name + ".bat"
  const char* agent_file;      // the management-agent file whose local settings every
                               // instance file ends with; null: none
  const char* registry_stem;   // instance key: stem + name; null: none
  const char* agent_section;   // section prefix of the agent service in the .ini file
  const char* service_prefix;  // services "<prefix>COLL<n>" and "<prefix>AGENT<n>"
  // Whether the scan rebuilds this kind's instances from its include file and
  // registry, and a remove deletes their files. The Informix writers run for
  // every record of a list, but that agent keeps its own list of instances.
  bool scanned;

  // The instance's file names, without their directory.
  [[nodiscard]] std::string IniFile(const std::string& instance) const {
    return ini_stem + instance + ".ini";
  }
  [[nodiscard]] std::string BatFile(const std::string& instance) const {
    return bat_stem + instance + ".bat";
  }
};

// The row of a kind; null for kNone and any number outside 1 to 4.
[[nodiscard]] const KindNames* NamesOf(ServerKind kind);

// An Oracle server's network configuration directory when none is given.
[[nodiscard]] std::string DefaultTnsAdmin(const std::string& oracle_home);

// The kind this run configures: a process-wide value that main sets once from
// the product code and every library routine reads.
[[nodiscard]] ServerKind GetServerKind();
void SetServerKind(ServerKind kind);

}  // namespace support
