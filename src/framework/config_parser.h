// Reads the configuration stream:
//
//   # comment
//   INSTANCE=inst1
//   [DBSETTINGS]
//   db_login=sa
//
// Lines end at LF (a CR before it, or at the very end, is dropped). Blank lines
// and lines whose first non-blank character is "#" or ";" are skipped. A line
// beginning "INSTANCE=" opens an instance named by the rest of the line, as it
// stands (empty: the default instance). A line beginning "[" that ends with "]"
// once trailing blanks are dropped opens a section of the current instance. Any
// other line is an entry: the key is the text before the first "=", blanks
// trimmed, and must not be empty; the value is everything after it, as it stands.
#pragma once

#include <string_view>

#include "framework/agent_config.h"

namespace VFW {

class ConfigParser {
 public:
  // Fills the empty `config` with the stream's instances. False, with `config`
  // left empty, when the stream holds a zero byte, a section before any instance, an entry
  // before any section, a line without "=" that is no header, an empty key, an
  // instance named twice, or a section named twice in one instance.
  [[nodiscard]] static bool parseConfigFromStream(std::string_view stream, AgentConfig* config);
};

}  // namespace VFW
