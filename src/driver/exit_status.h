// The exit statuses the operations answer, by meaning, and the commands of the
// framework's instance-creation tool. The numbers are what callers of the
// program see and never change; several meanings share one, each operation
// answering its own.
#pragma once

namespace driver {

enum class ExitStatus : int {
  kDone = 0,
  kUsage = 1,               // the command line is not one of the utility's
  kUnknownToolCommand = 1,  // a command the instance-creation tool does not know
  kNameNotAccepted = 2,     // the MSN, or the instance name derived from it
  kNotConfigured = 2,       // get, remove: the instance is not configured
  kRemoveNotStarted = 3,    // remove: no lock, or a server list missing or unread
  kStreamNotParsed = 4,     // put: the stream
  kPropertyMissing = 4,     // put: a required property
  kPropertyNotUsable = 4,   // put: a value that would break the generated files
  kNoSettingsSection = 6,   // put: the instance has no "DBSETTINGS" section
  kNotDone = 6,             // get: no stream written; remove: a file not removed
  kToolNotRun = 6,          // the instance-creation tool could not be run to its end
  kNoDiscoveredList = 100,  // put
  kNoConfiguredList = 101,  // put: no lock, or the configured list missing or unread
  kNoServiceNumber = 102,
  kFilesNotWritten = 103,        // the instance's .ini or .bat file
  kIncludeFileNotWritten = 104,  // the agent's include file
};

// The number an operation answers, and the program exits with. A settings
// check's own code (other than the one for a bad error log) ends a put as it
// is: ExitStatus{code}.
[[nodiscard]] constexpr int StatusNumber(ExitStatus status) { return static_cast<int>(status); }

// Commands of the instance-creation tool.
enum class ToolCommand : int {
  kCreate = 1,  // "-ciVSQ~<ini file>~<instance>"
  kRemove = 2,  // "-uiVSQ<instance>"
  kGet = 3,     // "-giVSQ<instance>"
  kPut = 4,     // "-piVSQ<instance>"
};

}  // namespace driver
