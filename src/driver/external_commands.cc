#include "driver/external_commands.h"

#include <cstdio>

#include "driver/report.h"
#include "framework/child_process.h"
#include "framework/product_dirs.h"
#include "framework/trace.h"
#include "platform/process.h"
#include "support/server_kind.h"

namespace driver {

namespace {

// Appends what the child wrote to `text`, or passes it to `stream`.
void Drain(VFW::Process::OutputPipe& pipe, std::string* text, std::FILE* stream) {
  char chunk[1024];
  for (int n; (n = pipe.read(chunk, sizeof chunk)) > 0;) {
    if (text != nullptr) {
      text->append(chunk, static_cast<size_t>(n));
    } else {
      std::fwrite(chunk, 1, static_cast<size_t>(n), stream);
    }
  }
  if (text == nullptr) std::fflush(stream);
}

// The program's file name without its directory and executable suffix.
std::string ProgramName(const std::string& program) {
  std::string name = program.substr(program.find_last_of("\\/") + 1);
  const std::string suffix = platform::ExecutableSuffix();
  if (!suffix.empty() && name.size() > suffix.size() &&
      name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
    name.resize(name.size() - suffix.size());
  }
  return name;
}

}  // namespace

ExitStatus runVinConfg(ToolCommand command, const std::string& instanceName) {
  Ras1Scope trace("runVinConfg");
  std::string home;
  if (!VFW::Util::getMarloxHomeDir(&home)) {
    REPORT_ERROR_INDENTED("Unabled to run vinconfg to add instance");
    return ExitStatus::kToolNotRun;
  }
  // The tool registers agents of this utility's own product, whatever kind the
  // library is serving.
  const support::KindNames& agent = *support::NamesOf(support::ServerKind::kSqlServer);
  const std::string product = agent.product;
  std::string option;
  switch (command) {
    case ToolCommand::kCreate:
      option = "-ci" + product + "~" + home + "ORVAGT6_x64\\" + agent.IniFile(instanceName) + "~" +
               instanceName;
      break;
    case ToolCommand::kRemove:
      option = "-ui" + product + instanceName;
      break;
    case ToolCommand::kGet:
      option = "-gi" + product + instanceName;
      break;
    case ToolCommand::kPut:
      option = "-pi" + product + instanceName;
      break;
    default:
      REPORT_ERROR("Invalid vinconfg command type '%d' passed to runVinConfg",
                   static_cast<int>(command));
      return ExitStatus::kUnknownToolCommand;
  }
  // The program and its one argument are started apart, so that a home with
  // blanks cannot be misread; the line is what the traces show.
  const Command tool{home + "InstallORV\\vinconfg " + option,
                     home + "InstallORV\\vinconfg" + platform::ExecutableSuffix(),
                     {option},
                     kVinconfgTimeLimitMs};
  RAS1_Printf(RAS1_DETAIL, "runVinConfg", "Issuing command '%s'", tool.line.c_str());
  int exit_code = 0;
  if (!runCommand(tool, "", &exit_code)) {
    // The same words for every command, as the framework's readers know them.
    REPORT_ERROR_INDENTED("Unabled to run vinconfg to add instance");
    return ExitStatus::kToolNotRun;
  }
  return ExitStatus::kDone;
}

bool runCommand(const Command& command, const std::string& input, int* exitCode,
                std::string* output, std::string* errors) {
  RAS1_Printf(RAS1_DETAIL, "runCommand", "Running command: %s", command.line.c_str());
  VFW::Process child(command.program, command.arguments);
  if (!child.start()) {
    REPORT_ERROR("Error running command: %s", command.line.c_str());
    return false;
  }
  if (!input.empty()) {
    RAS1_Printf(RAS1_DETAIL, "runCommand", "Writing stdin");
    (void)child.getStdIn().write(input);
  }
  child.getStdIn().close();
  if (!child.wait(exitCode, command.time_limit_ms)) {
    REPORT_ERROR_INDENTED("Error waiting for process");
    return false;
  }
  Drain(child.getStdOut(), output, stdout);
  Drain(child.getStdErr(), errors, stderr);
  // A child that was killed did not finish its work, whatever it wrote; its
  // ordinary exit code, by contrast, is the caller's to judge.
  if (const std::string cause = child.abnormalEnd(); !cause.empty()) {
    REPORT_ERROR("%s was ended by %s", ProgramName(command.program).c_str(), cause.c_str());
    return false;
  }
  return true;
}

}  // namespace driver
