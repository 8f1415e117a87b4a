// The names of an agent instance's files, registry key and services, by server
// kind.
#pragma once

namespace config {

struct InstanceFileNames {
  const char* include_file;    // in the etc directory; null: the kind has none
  const char* ini_stem;        // management-agent .ini file: stem + name + ".ini"
  const char* bat_stem;        // start-up .bat file: stem + name + ".bat"
  const char* registry_stem;   // instance key: stem + name (null: none)
  const char* agent_section;   // section prefix of the agent service in the .ini file
  const char* service_prefix;  // services "<prefix>COLL<n>" and "<prefix>AGENT<n>"
};

// The names of kinds 1 to 4; null for any other kind.
[[nodiscard]] const InstanceFileNames* InstanceFilesOf(int kind);

}  // namespace config
