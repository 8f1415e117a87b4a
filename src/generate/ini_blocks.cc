#include "generate/ini_blocks.h"

#include <cerrno>

#include "platform/files.h"
#include "support/config_log.h"
#include "support/line_reader.h"

namespace generate {

namespace {

constexpr auto kIni = support::Channel::kIni;

const char* const kLicence[] = {
    ";*****************************************************************\n",
    ";* Marlox Monitoring for Databases\n",
    ";* Agent instance configuration\n",
    ";* Copyright Marlox. All rights reserved.\n",
    ";*\n",
    ";* This file is generated each time the agent instance is\n",
    ";* configured, and changes made to it are lost then. It is\n",
    ";* installed by the product's configuration framework, which\n",
    ";* resolves the @...@ placeholders in its values.\n",
    ";*****************************************************************\n",
};

const char* const kInformixTitle[] = {
    ";* Marlox Informix Monitoring Agent\n",
    ";* Copyright Marlox. All rights reserved.\n",
};

}  // namespace

void WriteHeader(config::DbConfigList& list, Banner banner) {
  list.Output(kIni, ";\n");
  if (banner == Banner::kLicence) {
    for (const char* line : kLicence) list.Output(kIni, "%s", line);
  } else {
    for (const char* line : kInformixTitle) list.Output(kIni, "%s", line);
  }
  list.Output(kIni, ";\n");
  list.Output(kIni, ";This file is generated from vdbntsup program.\n");
  list.Output(kIni, ";\n");
  list.Output(kIni, "\n");
}

void WriteIdentity(config::DbConfigList& list, const Identity& identity,
                   const std::string& server) {
  list.Output(kIni, "[Identity]\n");
  list.Output(kIni, "MarProd=%s\n", identity.product);
  list.Output(kIni, "MarVers=%s\n", identity.version);
  list.Output(kIni, "MarDesc=%s\n", identity.description);
  list.Output(kIni, "MarTask=%s\n", server.c_str());
  list.Output(kIni, "VinDesc=%s\n", identity.title);
  list.Output(kIni, "VinVers=V%s\n", identity.version);
  list.Output(kIni, "\n");
  list.Output(kIni, "INSTANCENAME=%s\n", server.c_str());
  list.Output(kIni, "\n");
}

void BeginLocalSettings(config::DbConfigList& list, History history) {
  list.Output(kIni, "[Local Settings]\n");
  list.Output(kIni, "COLL_CTL_HOME=%s\n", list.GetEtcDir(config::PathForm::kAtSign).c_str());
  if (history == History::kKept) {
    list.Output(kIni, "MTIRA_HIST_DIR=@LogPath@\\History\\@MarProd@\\@MarTask@\n");
  }
}

void WriteLogonSettings(config::DbConfigList& list, const config::DbConfig& record) {
  list.Output(kIni, "COLL_LOGON=%s\n", record.getLoginName().c_str());
  list.Output(kIni, "COLL_PASSWORD=%s\n", record.getPassword().c_str());
  list.Output(kIni, "COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
}

void WriteFixedCollectorEntries(config::DbConfigList& list, int serviceNumber) {
  list.Output(kIni, "COLL_SERVERID=@INSTANCENAME@\n");
  list.Output(kIni, "COLL_HOSTNAME=@COMPUTERNAME@\n");
  list.Output(kIni, "COLL_PREFIX=TEMP\n");
  list.Output(kIni, "COLL_USESHM=1\n");
  list.Output(kIni, "COLL_SERVICENUMBER=%d\n", serviceNumber);
}

void WriteServices(config::DbConfigList& list, const ServiceNames& names, int serviceNumber,
                   const std::string& server, const char* collector_program, bool blank_after) {
  const std::string bin = list.GetBinDir(config::PathForm::kAtSign);
  const char* collector = list.GetCommonCollector() == 1 ? "VDBCOLL.EXE" : collector_program;

  list.Output(kIni, "[Services]\n");
  list.Output(kIni, "Add=%s%d\n", names.agent_section, serviceNumber);
  list.Output(kIni, "Add=%s%d\n", names.collector_section, serviceNumber);
  list.Output(kIni, "\n");

  list.Output(kIni, "[%s%d]\n", names.agent_section, serviceNumber);
  list.Output(kIni, "Name=%s%d\n", names.agent_name, serviceNumber);
  list.Output(kIni, "Label=%s%s\n", names.agent_label, server.c_str());
  list.Output(kIni, "Service=%s -Hkey \"@MarProd@\\@MarVers@\\@MarTask@\"\n", names.agent_program);
  list.Output(kIni, "Path=%s\n", bin.c_str());
  list.Output(kIni, "Start=Auto\n");
  list.Output(kIni, "Action=NOStart\n");
  list.Output(kIni, "\n");

  list.Output(kIni, "[%s%d]\n", names.collector_section, serviceNumber);
  list.Output(kIni, "Name=%s%d\n", names.collector_name, serviceNumber);
  list.Output(kIni, "Label=%s%s\n", names.collector_label, server.c_str());
  list.Output(kIni, "Service=%s -Hkey \"@MarProd@\\@MarVers@\\@MarTask@\"\n", collector);
  list.Output(kIni, "Path=%s\n", bin.c_str());
  list.Output(kIni, "Start=Auto\n");
  list.Output(kIni, "Action=NOStart\n");
  if (blank_after) list.Output(kIni, "\n");
}

int CopyTestSettings(config::DbConfigList& list, const std::string& path) {
  errno = 0;
  const platform::File settings = platform::OpenFile(path, "r");
  if (settings == nullptr) {
    const int status = errno != 0 ? errno : EIO;
    list.Output(Channel::kLog, "Unable to open file '%s'\n", path.c_str());
    return status == ENOENT ? 0 : status;
  }
  std::string line;
  while (support::ReadLine(settings.get(), &line)) list.Output(kIni, "%s\n", line.c_str());
  return std::ferror(settings.get()) != 0 ? EIO : 0;
}

}  // namespace generate
