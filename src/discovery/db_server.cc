#include "discovery/db_server.h"

#include "platform/files.h"
#include "support/line_reader.h"
#include "support/strings.h"

namespace discovery {

bool DbServer::isSameServer(const DbServer& other) const {
  return kind_ == other.kind_ && str_icmp(server_name_.c_str(), other.server_name_.c_str()) == 0;
}

bool DbServer::isSameServerExact(const DbServer& other) const {
  return kind_ == other.kind_ && server_name_ == other.server_name_;
}

void DbServer::dumpCommon(std::FILE* out) const {
  std::fprintf(out, "server_name : %s\n", server_name_.c_str());
  std::fprintf(out, "service_name : %s\n", service_name_.c_str());
  std::fprintf(out, "errorlog_name : %s\n", errorlog_name_.c_str());
}

void DbServerOra::dump(std::FILE* out) const {
  std::fprintf(out, "dollar_oracle : %s\n", getHome().c_str());
  std::fprintf(out, "ORA_version : %s\n", getVersion().c_str());
  std::fprintf(out, "server_type : %s\n", "RDBMS Server");
  std::fprintf(out, "initora_filename : %s\n", init_file_name_.c_str());
  dumpCommon(out);
  std::fprintf(out, "is_server_valid : %d\n\n", isServerValid());
}

void DbServerOra::readDetails() {
  // "name = value" lines of the init file; the last of each name counts.
  const platform::File file = platform::OpenFile(init_file_name_, "r");
  if (file == nullptr) return;
  std::string line;
  while (support::ReadLine(file.get(), &line)) {
    const size_t equals = line.find('=');
    if (line.empty() || line[0] == '#' || equals == std::string::npos) continue;
    std::string name = line.substr(0, equals);
    std::string value = line.substr(equals + 1);
    const auto trim = [](std::string& text) {
      const size_t first = text.find_first_not_of(" \t\r\n'\"");
      const size_t last = text.find_last_not_of(" \t\r\n'\"");
      text = first == std::string::npos ? "" : text.substr(first, last - first + 1);
    };
    trim(name);
    trim(value);
    if (str_icmp(name.c_str(), "db_name") == 0) db_name_ = value;
    if (str_icmp(name.c_str(), "user_dump_dest") == 0) user_dump_dest_ = value;
  }
}

void DbServerSyb::dump(std::FILE* out) const {
  std::fprintf(out, "dollar_sybase : %s\n", getHome().c_str());
  std::fprintf(out, "syb_version : %s\n", getVersion().c_str());
  std::fprintf(out, "server_type : %s\n", "SQL Server");
  dumpCommon(out);
  std::fprintf(out, "is_server_valid : %d\n\n", isServerValid());
}

void DbServerSql::dump(std::FILE* out) const {
  std::fprintf(out, "dollar_mssqlserver : %s\n", getHome().c_str());
  std::fprintf(out, "server_version : %s\n", getVersion().c_str());
  std::fprintf(out, "server_type : %s\n", "SQL Server");
  dumpCommon(out);
  std::fprintf(out, "is_server_valid : %d\n\n", isServerValid());
  // The port follows the blank separator line; readers of the dump expect it there.
  std::fprintf(out, "TCP_PORT : %s\n", getTcpPort().c_str());
}

void DbServerIfx::dump(std::FILE* out) const {
  std::fprintf(out, "dollar_server : %s\n", getHome().c_str());
  std::fprintf(out, "server_version : %s\n", getVersion().c_str());
  std::fprintf(out, "server_type : %s\n", "Online");
  dumpCommon(out);
  std::fprintf(out, "config_file : %s\n", config_file_.c_str());
  std::fprintf(out, "is_server_valid : %d\n\n", isServerValid());
}

}  // namespace discovery
