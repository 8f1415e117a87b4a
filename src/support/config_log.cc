#include "support/config_log.h"

#include <cstdarg>
#include <ctime>

#include "platform/private_file.h"
#include "platform/text_format.h"

namespace support {

int ConfigLog::OpenLog(const std::string& path, int* error) {
  log_name_ = path;
  log_.reset();
  const int status = platform::OpenPrivateLog(path, &log_);
  if (error != nullptr) *error = status;
  return status == 0 ? 1 : 0;
}

void ConfigLog::CloseLog() {
  log_.reset();
  log_name_.clear();
}

void ConfigLog::LogTimestamped(const char* text) {
  if (log_ == nullptr) return;
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  char stamp[32] = "\n";
  // The asctime form: "Wed Jan 02 02:03:55 1980\n".
  if (local != nullptr) std::strftime(stamp, sizeof stamp, "%a %b %d %H:%M:%S %Y\n", local);
  std::fprintf(log_.get(), "\n%s%s", stamp, text);
}

int ConfigLog::FileSlot(Channel channel) {
  switch (channel) {
    case Channel::kIni:
      return 0;
    case Channel::kInclude:
      return 1;
    case Channel::kBat:
      return 2;
    default:
      return -1;
  }
}

void ConfigLog::SetStream(Channel channel, std::FILE* stream) {
  if (const int slot = FileSlot(channel); slot >= 0) files_[slot] = stream;
}

std::FILE* ConfigLog::GetStream(Channel channel) const {
  const int slot = FileSlot(channel);
  return slot >= 0 ? files_[slot] : nullptr;
}

void ConfigLog::Output(Channel channel, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const std::string formatted = platform::vformat(format, args);
  va_end(args);

  if (const int slot = FileSlot(channel); slot >= 0) {
    if (files_[slot] != nullptr) std::fwrite(formatted.data(), 1, formatted.size(), files_[slot]);
    return;
  }
  const std::string text = ExpandPercentPairs(formatted);
  if (channel == Channel::kLog && console_ != 0) std::fputs(text.c_str(), stdout);
  // Flushed after each write, so that the log of a run that is killed shows
  // how far it came.
  if (log_ != nullptr) {
    std::fputs(text.c_str(), log_.get());
    std::fflush(log_.get());
  }
}

const char* MaskedSecret(const std::string& secret) { return secret.empty() ? "" : kMask; }

std::string ExpandPercentPairs(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    out += text[i];
    if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
  }
  return out;
}

}  // namespace support
