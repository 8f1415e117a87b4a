// The frame that every instance .ini file is written in: the file
// "<etc>\<stem><server>.ini", held as the current file path, listed on the
// include channel, opened with its directories and committed whole; between
// opening and commit the comment header, the identity, the local settings, the
// services and the test-settings lines. A server kind gives only what differs.
#pragma once

#include <string>

#include "config/db_config.h"
#include "config/db_config_list.h"
#include "generate/ini_blocks.h"

namespace generate {

using support::Channel;
using support::ServerKind;

// Where a kind's test-settings lines are read from.
enum class TestSettingsDir { kEtc, kWorking };

using IniSection = void (*)(config::DbConfigList& list, const config::DbConfig& record,
                            int serviceNumber);
using IniExtra = void (*)(config::DbConfigList& list);

struct IniLayout {
  // Names the writer in the "enter" and "exit" traces; null when the caller
  // traces its own, as the Informix writer does once for all its files.
  const char* writer;
  ServerKind kind;  // whose file stem names the file
  Banner banner;
  const Identity& identity;
  IniSection local_settings;  // the [Local Settings] section
  const ServiceNames& services;
  // The sections between the local settings and the services, if any.
  IniExtra extra_sections = nullptr;
  // False lets the test-settings lines follow the collector section directly.
  bool blank_after_services = true;
  TestSettingsDir test_settings = TestSettingsDir::kEtc;
  // Carries the "Override Local Settings" section of the file being replaced
  // over into the new one.
  bool keeps_override_section = false;
};

// Writes the instance .ini file of `record` as `layout` says, with
// `collector` as the collector program: 0 written; 1 the file could not be
// opened (or not put in place) even after its directory was created; 2 its
// directory could not be created.
[[nodiscard]] int WriteInstanceIni(config::DbConfigList& list, const config::DbConfig& record,
                                   int serviceNumber, const IniLayout& layout,
                                   const std::string& collector);

}  // namespace generate
