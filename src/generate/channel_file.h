// A generated file written on one output channel of the list: the text goes
// to a temporary file beside the target, which is renamed over the target
// once complete. While open, the temporary file's stream is the channel's
// stream; it is detached before the rename and whenever the file is dropped.
#pragma once

#include <functional>
#include <string>

#include "config/db_config_list.h"
#include "platform/files.h"

namespace generate {

using support::Channel;
using support::ServerKind;

class ChannelFile {
 public:
  explicit ChannelFile(config::DbConfigList& list) : list_(list) {}
  ChannelFile(const ChannelFile&) = delete;
  ChannelFile& operator=(const ChannelFile&) = delete;
  ~ChannelFile() { Detach(); }

  // Something to add to the complete file by path, through another writer,
  // before it replaces the target (the saved profile section of an .ini
  // file). Must be set before Open: such a file is first put in place under a
  // staging name, since the other writer needs it closed.
  void SetFinisher(std::function<void(const std::string& path)> finisher) {
    finisher_ = std::move(finisher);
  }

  // Creates the temporary file for `path` and attaches it to `channel`: 0 or
  // an errno value.
  [[nodiscard]] int Open(const std::string& path, support::Channel channel);
  // Detaches, completes and renames over the target: 0 or an errno value;
  // on failure the target is as it was and no temporary file is left.
  [[nodiscard]] int Commit();

 private:
  void Detach();

  config::DbConfigList& list_;
  support::Channel channel_ = support::Channel::kLog;
  std::string target_;
  std::function<void(const std::string& path)> finisher_;
  platform::AtomicFile file_;
};

// Opens `path` into the ini channel, or for the .bat twin the bat channel:
// 1, or 0 after the trace "Can't open file".
[[nodiscard]] int open_init(config::DbConfigList& list, const std::string& path, ChannelFile* file);
[[nodiscard]] int open_bat(config::DbConfigList& list, const std::string& path, ChannelFile* file);

// Results of the instance file writers.
inline constexpr int kWritten = 0;
inline constexpr int kOpenFailed = 1;
inline constexpr int kCreateDirFailed = 2;

using Opener = int (*)(config::DbConfigList&, const std::string&, ChannelFile*);

// Opens with `opener`; when that fails makes the directories and tries once
// more: kWritten when open, else kCreateDirFailed or kOpenFailed after their
// error traces.
[[nodiscard]] int OpenWithDirectories(config::DbConfigList& list, const std::string& path,
                                      ChannelFile* file, Opener opener);

// Traces "File '%s' existed" when `path` can be read. The old file is not
// removed here: the new one replaces it when complete.
void TraceExisting(config::DbConfigList& list, const std::string& path);

// Commits the file; a failure is traced and answers kOpenFailed, since the
// file did not reach its place.
[[nodiscard]] int CommitGenerated(config::DbConfigList& list, const std::string& path,
                                  ChannelFile* file);

}  // namespace generate
