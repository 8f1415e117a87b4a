#include "driver/std_in.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "framework/trace.h"
#include "support/config_log.h"

namespace driver {

namespace {

// The stream as a trace may show it: the value of every password entry
// written "********".
std::string Masked(std::string_view stream) {
  std::string shown;
  shown.reserve(stream.size());
  while (!stream.empty()) {
    const size_t end = stream.find('\n');
    const std::string_view line = stream.substr(0, end);
    stream = end == std::string_view::npos ? std::string_view() : stream.substr(end + 1);
    const size_t equals = line.find('=');
    const std::string_view key = line.substr(0, equals == std::string_view::npos ? 0 : equals);
    const bool secret = key.find("password") != std::string_view::npos ||
                        key.find("PASSWORD") != std::string_view::npos;
    shown.append(secret ? line.substr(0, equals + 1) : line);
    if (secret) shown.append(support::kMask);
    if (end != std::string_view::npos) shown.push_back('\n');
  }
  return shown;
}

}  // namespace

bool readStdIn(std::string* stream) {
  const unsigned levels = RAS1_Sync();
  char chunk[1024];
  for (;;) {
    const size_t n = std::fread(chunk, 1, sizeof chunk, stdin);
    if (n == 0) break;
    if (levels & RAS1_DETAIL) {
      RAS1_Printf(RAS1_DETAIL, "readStdIn", "readStdIn: read %d bytes from stdin",
                  static_cast<int>(n));
    }
    if (stream->size() + n > kMaxStreamBytes) return false;
    stream->append(chunk, n);
  }
  if (levels & RAS1_DETAIL) {
    RAS1_Printf(RAS1_DETAIL, "readStdIn", "Stream contents: %s", Masked(*stream).c_str());
  }
  return true;
}

}  // namespace driver
