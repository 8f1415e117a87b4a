// Any bytes given to the stream parser give a clean answer, and whatever the
// parser accepts is rendered and read back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "framework/config_parser.h"
#include "framework/config_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view stream(reinterpret_cast<const char*>(data), size);
  VFW::AgentConfig config;
  if (!VFW::ConfigParser::parseConfigFromStream(stream, &config)) return 0;
  std::string written;
  if (!VFW::ConfigWriter(false).writeStream(config, &written)) return 0;
  VFW::AgentConfig again;
  if (!VFW::ConfigParser::parseConfigFromStream(written, &again)) std::abort();
  std::string rewritten;
  if (!VFW::ConfigWriter(false).writeStream(again, &rewritten) || rewritten != written) {
    std::abort();
  }
  return 0;
}
