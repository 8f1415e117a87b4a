// The framework's instance-creation tool, and child processes in general.
#pragma once

#include <string>
#include <vector>

namespace driver {

// Commands of the instance-creation tool.
inline constexpr int kVinconfgCreate = 1;  // "-ciVSQ~<ini file>~<instance>"
inline constexpr int kVinconfgRemove = 2;  // "-uiVSQ<instance>"
inline constexpr int kVinconfgGet = 3;     // "-giVSQ<instance>"
inline constexpr int kVinconfgPut = 4;     // "-piVSQ<instance>"

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

// Runs the tool with one command for `instanceName`: 0 when it ran to its end
// (whatever its own exit code), 6 when it could not be run or waited for or
// was killed, 1 for an unknown command.
[[nodiscard]] int runVinConfg(int commandType, const std::string& instanceName);

// Runs `command` with `input` on its standard input, waits for it and hands
// back its exit code and output; output without a string to take it passes
// through to this program's own. False when it could not be started or waited
// for, or was ended by a signal, an exception it did not handle or its time
// limit (reported).
[[nodiscard]] bool runCommand(const Command& command, const std::string& input, int* exitCode,
                              std::string* output = nullptr, std::string* errors = nullptr);

}  // namespace driver
