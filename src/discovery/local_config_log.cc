#include "discovery/local_config_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "framework/text_format.h"
#include "platform/files.h"

namespace discovery {

namespace {

struct LogState {
  bool started = false;
  std::string path;  // empty: no log
};

LogState& State() {
  static LogState state;
  return state;
}

}  // namespace

void localConfigLog(const char* format, ...) {
  LogState& state = State();
  if (!state.started) {
    state.started = true;
    if (const char* home = std::getenv("MARLOX_HOME"); home != nullptr) {
      state.path = std::string(home) + "\\ORVAGT6_x64\\logs\\SQ_LocalConfig.log";
      (void)platform::RemoveFile(state.path);
    }
  }
  if (state.path.empty()) return;

  std::va_list args;
  va_start(args, format);
  const std::string message = VFW::vformat(format, args);
  va_end(args);

  const platform::File file = platform::OpenFile(state.path, "a");
  if (file != nullptr) std::fprintf(file.get(), "%s \n", message.c_str());
}

void resetLocalConfigLogForTesting() { State() = LogState(); }

}  // namespace discovery
