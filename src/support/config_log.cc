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
  if (status == 0) {
    // Written in blocks: one write per line made a run's log cost more than
    // the rest of the run.
    constexpr size_t kBlock = 1 << 16;
    if (log_buffer_ == nullptr) log_buffer_ = std::make_unique<char[]>(kBlock);
    std::setvbuf(log_.get(), log_buffer_.get(), _IOFBF, kBlock);
    flushed_ = std::chrono::steady_clock::now();
  }
  if (error != nullptr) *error = status;
  return status == 0 ? 1 : 0;
}

void ConfigLog::CloseLog() {
  Flush();
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
  OutputV(channel, format, args);
  va_end(args);
}

void ConfigLog::OutputV(Channel channel, const char* format, std::va_list args) {
  if (!Receives(channel)) return;
  platform::vformat_to(&line_, format, args);
  Write(channel, line_);
}

bool ConfigLog::Receives(Channel channel) const {
  if (const int slot = FileSlot(channel); slot >= 0) return files_[slot] != nullptr;
  return log_ != nullptr || (channel == Channel::kLog && console_ != 0);
}

void ConfigLog::Write(Channel channel, std::string_view formatted) {
  if (const int slot = FileSlot(channel); slot >= 0) {
    if (files_[slot] != nullptr) std::fwrite(formatted.data(), 1, formatted.size(), files_[slot]);
    return;
  }
  std::string expanded;
  std::string_view text = formatted;
  if (formatted.find("%%") != std::string_view::npos) {
    expanded = ExpandPercentPairs(formatted);
    text = expanded;
  }
  text = text.substr(0, text.find('\0'));  // the log is text: it ends at a NUL
  if (channel == Channel::kLog && console_ != 0) std::fwrite(text.data(), 1, text.size(), stdout);
  if (log_ == nullptr) return;
  std::fwrite(text.data(), 1, text.size(), log_.get());
  // A run that is killed still leaves the log of all but its last moments.
  // The clock is read every few lines: the scan writes thousands of them.
  if (++lines_written_ % 16 != 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - flushed_ >= std::chrono::milliseconds(kFlushIntervalMs)) {
    std::fflush(log_.get());
    flushed_ = now;
  }
}

void ConfigLog::Flush() {
  if (log_ != nullptr) std::fflush(log_.get());
}

const char* MaskedSecret(const std::string& secret) { return secret.empty() ? "" : kMask; }

std::string ExpandPercentPairs(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    out += text[i];
    if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
  }
  return out;
}

}  // namespace support
