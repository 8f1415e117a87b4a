#include "generate/instance_ini.h"

#include <memory>

#include "generate/channel_file.h"
#include "generate/current_path.h"
#include "generate/override_section.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kIni = support::Channel::kIni;

int WriteContent(config::DbConfigList& list, const config::DbConfig& record, int serviceNumber,
                 const IniLayout& layout, const std::string& collector) {
  const std::string server = record.getServerName();
  WriteHeader(list, layout.banner);
  WriteIdentity(list, layout.identity, server);
  layout.local_settings(list, record, serviceNumber);
  list.Output(kIni, "\n");
  if (layout.extra_sections != nullptr) layout.extra_sections(list);
  WriteServices(list, layout.services, serviceNumber, server, collector.c_str(),
                layout.blank_after_services);
  return CopyTestSettings(list, layout.test_settings == TestSettingsDir::kEtc
                                    ? list.GetEtcDir(config::PathForm::kResolved) + "\\vdbtset.ini"
                                    : std::string("vdbtset.ini"));
}

}  // namespace

int WriteInstanceIni(config::DbConfigList& list, const config::DbConfig& record, int serviceNumber,
                     const IniLayout& layout, const std::string& collector) {
  if (layout.writer != nullptr) list.Output(Channel::kLog, "\n%s: enter\n", layout.writer);
  std::string& path = CurrentFilePath();
  path = list.GetEtcDir(config::PathForm::kResolved) + "\\" +
         support::NamesOf(layout.kind)->IniFile(record.getServerName());
  list.Output(Channel::kLog, "Generating .ini file '%s'\n", path.c_str());

  std::unique_ptr<char[]> saved;
  if (layout.keeps_override_section) saved = SaveOverrideSection(list, path);
  TraceExisting(list, path);

  ChannelFile file(list);
  // The saved section goes into the new file before it replaces the old one,
  // so that no moment sees the file without it.
  if (saved != nullptr) {
    file.SetFinisher(
        [&saved](const std::string& staged) { RestoreOverrideSection(saved.get(), staged); });
  }
  if (const int opened = OpenWithDirectories(list, path, &file, open_init); opened != kWritten) {
    return opened;
  }
  list.Output(Channel::kLog, "File '%s' created and opened\n", path.c_str());
  // Reaches the include file only while it is being written.
  list.Output(support::Channel::kInclude, "Add=%s\n", path.c_str());

  if (const int status = WriteContent(list, record, serviceNumber, layout, collector);
      status != 0) {
    list.Output(Channel::kLog,
                "ERROR: File '%s' left as it was: its settings could not be read, errno =%d\n",
                path.c_str(), status);
    return kOpenFailed;
  }

  if (const int committed = CommitGenerated(list, path, &file); committed != kWritten) {
    return committed;
  }
  list.Output(Channel::kLog, "Finished generating %s file\n", path.c_str());
  if (layout.writer != nullptr) list.Output(Channel::kLog, "%s: exit\n", layout.writer);
  return kWritten;
}

}  // namespace generate
