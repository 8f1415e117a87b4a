#include "discovery/local_config_log.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "framework/product_dirs.h"
#include "platform/files.h"
#include "platform/text_format.h"

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
    if (std::string directory; VFW::Util::getMarloxConfigDir("SQ", &directory)) {
      state.path = directory + "logs" + platform::PathSeparator() + "SQ_LocalConfig.log";
      (void)platform::RemoveFile(state.path);
    }
  }
  if (state.path.empty()) return;

  std::va_list args;
  va_start(args, format);
  const std::string message = platform::vformat(format, args);
  va_end(args);

  const platform::File file = platform::OpenFile(state.path, "a");
  if (file != nullptr) std::fprintf(file.get(), "%s \n", message.c_str());
}

void resetLocalConfigLogForTesting() { State() = LogState(); }

}  // namespace discovery
