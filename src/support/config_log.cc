#include "support/config_log.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <vector>

#include "platform/files.h"
#include "platform/private_file.h"
#include "platform/text_format.h"

namespace support {

namespace {

constexpr size_t kBlock = 1 << 16;

// The logs open in this process, written out before a child starts and at exit.
// Never destroyed: the flush at exit may come after static objects are gone.
std::vector<ConfigLog*>& OpenLogs() {
  static auto* const logs = new std::vector<ConfigLog*>;
  return *logs;
}

void FlushOpenLogs() {
  for (ConfigLog* log : OpenLogs()) log->Flush();
}

}  // namespace

ConfigLog::~ConfigLog() { CloseLog(); }

int ConfigLog::OpenLog(const std::string& path, int* error) {
  CloseLog();
  log_name_ = path;
  const int status = platform::OpenPrivateLog(path, &log_);
  if (status == 0) {
    static const bool registered = (platform::AddFlusher(FlushOpenLogs), true);
    (void)registered;
    OpenLogs().push_back(this);
    // The block is the buffer: the C library's own would split each block's
    // write in three.
    std::setvbuf(log_.get(), nullptr, _IONBF, 0);
    block_.reserve(kBlock + 4096);
    flushed_ = std::chrono::steady_clock::now();
  }
  if (error != nullptr) *error = status;
  return status == 0 ? 1 : 0;
}

void ConfigLog::CloseLog() {
  if (log_ != nullptr) {
    Flush();
    std::vector<ConfigLog*>& logs = OpenLogs();
    logs.erase(std::remove(logs.begin(), logs.end(), this), logs.end());
  }
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
  block_.append("\n").append(stamp).append(text);
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
  if (const int slot = FileSlot(channel); slot >= 0) {
    platform::vformat_to(&line_, format, args);
    std::fwrite(line_.data(), 1, line_.size(), files_[slot]);
    return;
  }
  const size_t start = block_.size();
  platform::vformat_append(&block_, format, args);
  Logged(channel, start);
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
  const size_t start = block_.size();
  block_.append(formatted);
  Logged(channel, start);
}

void ConfigLog::Logged(Channel channel, size_t start) {
  const char* text = block_.data() + start;
  // The log is text: it ends at a NUL.
  if (const void* nul = std::memchr(text, '\0', block_.size() - start); nul != nullptr) {
    block_.resize(static_cast<size_t>(static_cast<const char*>(nul) - block_.data()));
  }
  if (std::memchr(text, '%', block_.size() - start) != nullptr) {
    const std::string expanded = ExpandPercentPairs(std::string_view(block_).substr(start));
    block_.replace(start, std::string::npos, expanded);
  }
  if (channel == Channel::kLog && console_ != 0) {
    std::fwrite(block_.data() + start, 1, block_.size() - start, stdout);
  }
  if (log_ == nullptr) {
    block_.resize(start);
    return;
  }
  if (block_.size() >= kBlock) {
    Flush();
    return;
  }
  // A run that is killed still leaves the log of all but its last moments.
  // The clock is read every few lines: the scan writes thousands of them.
  if (++lines_written_ % 16 == 0 &&
      std::chrono::steady_clock::now() - flushed_ >= std::chrono::milliseconds(kFlushIntervalMs)) {
    Flush();
  }
}

void ConfigLog::Flush() {
  if (log_ == nullptr) return;
  if (!block_.empty()) std::fwrite(block_.data(), 1, block_.size(), log_.get());
  block_.clear();
  std::fflush(log_.get());
  flushed_ = std::chrono::steady_clock::now();
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
