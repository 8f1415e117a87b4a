// How the version text of an Oracle or Sybase server picks the collector and
// the settings that go with it.
#pragma once

#include <string>

namespace generate {

// "VOR08" for 8.1, "VOR09" for 9, "VOR10" for 10, "VOR11" for 11, tested by
// prefix in that order; "VOR10" for anything else (12.1 included).
[[nodiscard]] const char* OracleVersionTag(const std::string& version);

// True for the Sybase servers served by the version 12 collector (versions
// 11.x and 12.x), false for the version 15 one.
[[nodiscard]] bool SybaseOlderCollector(const std::string& version);

// The leading integer of a Sybase version text (0 without one).
[[nodiscard]] int SybaseMajorVersion(const std::string& version);

// The character after the first "." of the version text, or its first
// character when it has no "."; empty for an empty text.
[[nodiscard]] std::string SybaseMinorDigit(const std::string& version);

}  // namespace generate
