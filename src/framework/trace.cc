#include "framework/trace.h"

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

#include "framework/product_dirs.h"
#include "platform/files.h"
#include "platform/private_file.h"
#include "platform/text_format.h"

namespace {

struct TraceState {
  unsigned levels = RAS1_ERROR;
  platform::File file;
};

TraceState& State() {
  static TraceState state;
  return state;
}

unsigned LevelsFromEnvironment() {
  const char* setting = std::getenv("SQ_XA_TRACE");
  if (setting == nullptr) return RAS1_ERROR;
  const std::string_view name(setting);
  if (name == "none") return 0;
  if (name == "flow") return RAS1_ERROR | RAS1_FLOW;
  if (name == "detail" || name == "all") return RAS1_ERROR | RAS1_FLOW | RAS1_DETAIL;
  return RAS1_ERROR;
}

std::string TraceFilePath() {
  if (const char* file = std::getenv("SQ_XA_TRACE_FILE"); file != nullptr && *file != '\0') {
    return file;
  }
  std::string home;
  if (!VFW::Util::getMarloxHomeDir(&home)) return {};
  const std::string logs = home + "ORVAGT6_x64\\logs";
  if (!platform::DirectoryExists(logs)) return {};
  return logs + "\\sq_xa.trc";
}

void WriteRecord(const char* function, std::string_view text) {
  std::FILE* file = State().file.get();
  if (file == nullptr) return;
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  char stamp[32] = "";
  if (const std::tm* local = std::localtime(&seconds); local != nullptr) {
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", local);
  }
  std::fprintf(file, "%s.%03d %s: ", stamp, static_cast<int>(millis), function);
  std::fwrite(text.data(), 1, text.size(), file);
  if (text.empty() || text.back() != '\n') std::fputc('\n', file);
  std::fflush(file);
}

}  // namespace

void RAS1_Initialize() {
  TraceState& state = State();
  state.file.reset();
  state.levels = LevelsFromEnvironment();
  if (state.levels == 0) return;
  const std::string path = TraceFilePath();
  if (path.empty()) return;
  // Created readable by its owner alone, and never written through a link
  // planted in its place: then the run goes on untraced, and says so.
  if (platform::OpenPrivateLog(path, &state.file) == ELOOP) {
    std::fprintf(stderr, "The trace file %s is a symbolic link; the run is not traced\n",
                 path.c_str());
  }
}

void RAS1_Shutdown() { State().file.reset(); }

unsigned RAS1_Sync() { return State().levels; }

void RAS1_Printf(unsigned level, const char* function, const char* format, ...) {
  if ((State().levels & level) == 0 || State().file == nullptr) return;
  std::va_list args;
  va_start(args, format);
  const std::string text = platform::vformat(format, args);
  va_end(args);
  WriteRecord(function, text);
}

void RAS1_Event(const char* function, int event) {
  if ((State().levels & RAS1_FLOW) == 0) return;
  WriteRecord(function, event == RAS1_EV_ENTRY ? "Entry" : "Exit");
}

void RAS1_Event(const char* function, int event, int status) {
  if ((State().levels & RAS1_FLOW) == 0) return;
  if (event != RAS1_EV_EXIT) return RAS1_Event(function, event);
  const std::string text = "Exit, status " + std::to_string(status);
  WriteRecord(function, text);
}
