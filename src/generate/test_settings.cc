// The test-settings file vdbtset.ini: the "[Local Settings]" of the kind's
// management-agent file, made once and then shared by every instance file.
#include <cstdio>
#include <string>

#include "generate/agent_files.h"
#include "platform/files.h"
#include "support/line_reader.h"

namespace generate {

namespace {

const char* ManagementAgentFile(ServerKind kind) {
  const support::KindNames* names = support::NamesOf(kind);
  return names == nullptr ? nullptr : names->agent_file;
}

constexpr const char* kLocalSettings = "[Local Settings]";

void WriteLine(std::FILE* file, const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), file);
  std::fputc('\n', file);
}

// Copies the sections; every history-directory line is left out, since each
// instance file sets its own.
void CopySections(std::FILE* source, std::FILE* target) {
  std::string line;
  bool have_line = support::ReadLine(source, &line);
  while (have_line) {
    if (line != kLocalSettings) {
      have_line = support::ReadLine(source, &line);
      continue;
    }
    WriteLine(target, line);
    while ((have_line = support::ReadLine(source, &line))) {
      // An empty line or the next header ends the section; the header is then
      // looked at again, so a later "[Local Settings]" is copied too.
      if (line.empty() || line[0] == '[') break;
      if (line.find("MTIRA_HIST_DIR") != std::string::npos) continue;
      WriteLine(target, line);
    }
  }
}

}  // namespace

int CopyLocalSettings(config::DbConfigList& list, const std::string& source,
                      const std::string& target) {
  const platform::File input = platform::OpenFile(source, "r");
  if (input == nullptr) {
    list.Output(Channel::kLog, "CopyLocalSettings: Unable to open file '%s'\n", source.c_str());
    return -1;
  }
  platform::AtomicFile output;
  if (output.Open(target, /*text=*/true) != 0) {
    list.Output(Channel::kLog, "CopyLocalSettings: Unable to create file '%s'\n", target.c_str());
    return -2;
  }
  CopySections(input.get(), output.stream());
  if (output.Commit() != 0) {
    list.Output(Channel::kLog, "CopyLocalSettings: Unable to create file '%s'\n", target.c_str());
    return -2;
  }
  return 0;
}

int Generate_VdbtsetIniFile(config::DbConfigList& list, ServerKind kind,
                            const config::DbConfig& record) {
  list.Output(Channel::kLog,
              "Generate_VdbtsetIniFile: Verifying existence of vdbtset.ini for '%s'\n",
              record.getServerName().c_str());
  const std::string etc = list.GetEtcDir(config::PathForm::kResolved);
  const std::string settings = etc + "\\vdbtset.ini";
  // Made once and kept, whatever instance or kind it was made for.
  if (platform::OpenFile(settings, "r") != nullptr) {
    list.Output(Channel::kLog, "File '%s' exists\n", settings.c_str());
    return 0;
  }
  int result = -1;
  if (const char* source = ManagementAgentFile(kind); source == nullptr) {
    list.Output(Channel::kLog, "Invalid server type '%d'\n", support::KindNumber(kind));
  } else {
    result = CopyLocalSettings(list, etc + "\\" + source, settings);
  }
  list.Output(Channel::kLog, "Generate_VdbtsetIniFile: return code '%d'\n", result);
  return result;
}

}  // namespace generate
