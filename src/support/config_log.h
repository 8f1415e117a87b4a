// The configuration log of a run and the output channels of the files being
// generated: every trace line and every generated line passes through Output
// with a channel number.
//
//   1      the log file, and standard output while the console switch is on
//   2      the instance .ini file being generated
//   3      the include file being generated
//   22     the instance .bat file being generated
//   other  the log file
//
// A channel whose stream is not open drops the text. The log channels expand
// "%%" in the formatted text a second time (to "%"), a trait of the log's
// format that its readers expect; every other "%" stays as it is, so data such
// as a server name "a%n" is never taken as a format. The file channels write the
// formatted bytes unchanged.
#pragma once

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/printf_format.h"

namespace support {

// The numbers are those of the log's own format; any other number is the log.
enum class Channel : int {
  kLog = 1,
  kIni = 2,
  kInclude = 3,
  kBat = 22,
};

class ConfigLog {
 public:
  explicit ConfigLog(int console) : console_(console) {}
  ConfigLog(const ConfigLog&) = delete;
  ConfigLog& operator=(const ConfigLog&) = delete;
  ~ConfigLog();

  // Opens `path` for appending, created readable by its owner alone when
  // absent and never through a symbolic link; 1 when open, else 0 (with the
  // errno value in `error`: ELOOP for a link).
  int OpenLog(const std::string& path, int* error = nullptr);
  void CloseLog();
  [[nodiscard]] bool IsLogOpen() const { return log_ != nullptr; }
  [[nodiscard]] const std::string& LogFileName() const { return log_name_; }

  void SetConsole(int console) { console_ = console; }
  [[nodiscard]] int GetConsole() const { return console_; }

  // Writes an empty line, the local time in the asctime form, then `text`.
  void LogTimestamped(const char* text);

  void Output(Channel channel, const char* format, ...) SQXA_PRINTF(3, 4);
  void OutputV(Channel channel, const char* format, std::va_list args) SQXA_PRINTF(3, 0);
  // Sends text already formatted to the channel, as Output does.
  void Write(Channel channel, std::string_view text);
  // Whether text on the channel reaches any stream: callers skip formatting
  // what nobody would read.
  [[nodiscard]] bool Receives(Channel channel) const;
  // Writes out what the log holds. The log is written in blocks, and flushed
  // at least every kFlushIntervalMs, before a child process starts, when it is
  // closed and at exit.
  void Flush();

  // The stream of a file channel (2, 3 or 22); not owned: whoever opens the
  // generated file closes it and clears the channel.
  void SetStream(Channel channel, std::FILE* stream);
  [[nodiscard]] std::FILE* GetStream(Channel channel) const;

 private:
  // The index of a file channel in files_, or -1 for the log channels.
  static int FileSlot(Channel channel);
  // Finishes the text of the log channels that block_ holds from `start` on:
  // "%%" expanded, cut at a NUL, shown on the console, written out when due.
  void Logged(Channel channel, size_t start);

  int console_;
  std::string log_name_;
  platform::File log_;
  // The log's text not yet written: lines are formatted straight into it and
  // written a block at a time, which costs a run's thousands of lines a
  // handful of writes.
  std::string block_;
  std::FILE* files_[3] = {};  // ini, include, bat
  std::chrono::steady_clock::time_point flushed_;
  unsigned lines_written_ = 0;  // to the log, for reading the clock every few
  std::string line_;            // a file channel's line; its storage serves every line
};

inline constexpr int kFlushIntervalMs = 100;

// What a log or a trace shows in place of a password: kMask, or the empty text
// for none.
inline constexpr char kMask[] = "********";
[[nodiscard]] const char* MaskedSecret(const std::string& secret);

// The text with "%%" turned into "%" and every other "%" left as it stands.
[[nodiscard]] std::string ExpandPercentPairs(std::string_view text);

}  // namespace support
