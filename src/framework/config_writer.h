// Renders a configuration as a stream that ConfigParser reads back unchanged:
// "INSTANCE=<name>", then "[<section>]", then "<key>=<value>" lines, each ended
// by "\n".
#pragma once

#include <string>

#include "framework/agent_config.h"

namespace VFW {

class ConfigWriter {
 public:
  // With `withHeader`, the stream begins with a comment line naming its format.
  explicit ConfigWriter(bool withHeader) : with_header_(withHeader) {}

  // Replaces `stream` with the rendering of `config`. False, with `stream`
  // untouched, when something cannot be read back as it is: a name or value
  // holding CR, LF or a zero byte; a section name that is empty or holds "]"; a
  // key that is empty, holds "=", has blanks at either end, begins with "#", ";"
  // or "[", or is "INSTANCE".
  [[nodiscard]] bool writeStream(const AgentConfig& config, std::string* stream) const;

 private:
  bool with_header_;
};

}  // namespace VFW
