#include "generate/channel_file.h"

#include "generate/create_dir.h"
#include "platform/system.h"
#include "support/config_log.h"

namespace generate {

namespace {

// Beside the target, so that the final rename stays in one directory.
std::string StagingPath(const std::string& target) {
  return target + ".sqxa-" + std::to_string(platform::CurrentProcessId()) + "-staged.tmp";
}

int OpenOn(config::DbConfigList& list, const std::string& path, support::Channel channel,
           ChannelFile* file) {
  if (file->Open(path, channel) == 0) return 1;
  list.Output(Channel::kLog, "\nCan't open file '%s'\n", path.c_str());
  return 0;
}

}  // namespace

int ChannelFile::Open(const std::string& path, support::Channel channel) {
  Detach();
  target_ = path;
  channel_ = channel;
  const int status = file_.Open(finisher_ ? StagingPath(path) : path, /*text=*/true);
  if (status == 0) list_.Log().SetStream(channel_, file_.stream());
  return status;
}

void ChannelFile::Detach() {
  if (file_.stream() != nullptr && list_.Log().GetStream(channel_) == file_.stream()) {
    list_.Log().SetStream(channel_, nullptr);
  }
}

int ChannelFile::Commit() {
  Detach();
  const int status = file_.Commit();
  if (status != 0 || !finisher_) return status;
  const std::string staged = StagingPath(target_);
  finisher_(staged);
  const int renamed = platform::RenameFile(staged, target_);
  if (renamed != 0) (void)platform::RemoveFile(staged);
  return renamed;
}

int open_init(config::DbConfigList& list, const std::string& path, ChannelFile* file) {
  return OpenOn(list, path, support::Channel::kIni, file);
}

int open_bat(config::DbConfigList& list, const std::string& path, ChannelFile* file) {
  return OpenOn(list, path, support::Channel::kBat, file);
}

int OpenWithDirectories(config::DbConfigList& list, const std::string& path, ChannelFile* file,
                        Opener opener) {
  if (opener(list, path, file) != 0) return kWritten;
  if (create_dir(list, path) == 0) {
    list.Output(Channel::kLog, "ERROR: File '%s' create_dir() failure\n", path.c_str());
    return kCreateDirFailed;
  }
  if (opener(list, path, file) == 0) {
    list.Output(Channel::kLog, "ERROR: File '%s' open_init() failure\n", path.c_str());
    return kOpenFailed;
  }
  return kWritten;
}

void TraceExisting(config::DbConfigList& list, const std::string& path) {
  if (platform::OpenFile(path, "r") != nullptr)
    list.Output(Channel::kLog, "File '%s' existed\n", path.c_str());
}

int CommitGenerated(config::DbConfigList& list, const std::string& path, ChannelFile* file) {
  if (const int status = file->Commit(); status != 0) {
    list.Output(Channel::kLog, "ERROR: File '%s' could not be put in place, errno =%d\n",
                path.c_str(), status);
    return kOpenFailed;
  }
  return kWritten;
}

}  // namespace generate
