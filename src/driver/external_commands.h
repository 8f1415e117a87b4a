// The framework's instance-creation tool, and child processes in general.
#pragma once

#include <string>
#include <vector>

#include "driver/exit_status.h"

namespace driver {

// A command to run: its full command line, for traces and reports, and the
// program with its arguments as they are started.
struct Command {
  std::string line;
  std::string program;
  std::vector<std::string> arguments;
  unsigned time_limit_ms = 0;  // 0: none; a child still running then is killed
};

// How long the instance-creation tool may take. It registers one instance in
// a moment; one that runs this long is caught in a loop, and would otherwise
// hold the agent directory's lock for ever.
inline constexpr unsigned kVinconfgTimeLimitMs = 300000;

// Runs the tool with one command for `instanceName`: done when it ran to its
// end (whatever its own exit code), kToolNotRun when it could not be run or
// waited for or was killed, kUnknownToolCommand for a command it does not know.
[[nodiscard]] ExitStatus runVinConfg(ToolCommand command, const std::string& instanceName);

// Runs `command` with `input` on its standard input, waits for it and hands
// back its exit code and output; output without a string to take it passes
// through to this program's own. False when it could not be started or waited
// for, or was ended by a signal, an exception it did not handle or its time
// limit (reported).
[[nodiscard]] bool runCommand(const Command& command, const std::string& input, int* exitCode,
                              std::string* output = nullptr, std::string* errors = nullptr);

}  // namespace driver
