// A database server discovered on the machine, of one of four kinds.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace discovery {

class DbServer {
 public:
  explicit DbServer(uint32_t kind) : kind_(kind) {}
  virtual ~DbServer() = default;

  // Completes the record from the server's own files; most kinds have none.
  virtual void readDetails() {}
  // Writes the record as labelled lines.
  virtual void dump(std::FILE* out) const = 0;

  // Same kind and the same name without regard to case / exactly.
  [[nodiscard]] bool isSameServer(const DbServer& other) const;
  [[nodiscard]] bool isSameServerExact(const DbServer& other) const;

  [[nodiscard]] uint32_t getKind() const { return kind_; }
  void setKind(uint32_t kind) { kind_ = kind; }
  [[nodiscard]] int isServerValid() const { return is_server_valid_; }
  [[nodiscard]] uint32_t getReservedFlag() const { return reserved_flag_; }
  [[nodiscard]] int getSecondFlag() const { return second_flag_; }

#define SQXA_TEXT_FIELD(Name, member)                          \
  void set##Name(const std::string& value) { member = value; } \
  [[nodiscard]] std::string get##Name() const { return member; }
  SQXA_TEXT_FIELD(ServerName, server_name_)
  SQXA_TEXT_FIELD(ServiceName, service_name_)
  SQXA_TEXT_FIELD(ErrorLogName, errorlog_name_)
  SQXA_TEXT_FIELD(Home, home_)
  SQXA_TEXT_FIELD(Version, version_)
  SQXA_TEXT_FIELD(ExtraText1, extra_text_1_)
  SQXA_TEXT_FIELD(ClusterName, cluster_name_)
  SQXA_TEXT_FIELD(ExtraText2, extra_text_2_)
  SQXA_TEXT_FIELD(ExtraText3, extra_text_3_)
  SQXA_TEXT_FIELD(TcpPort, tcp_port_)

 protected:
  // The lines every kind writes after its own first lines.
  void dumpCommon(std::FILE* out) const;

 private:
  uint32_t kind_;
  uint32_t reserved_flag_ = 0;
  int is_server_valid_ = 1;
  int second_flag_ = 1;
  std::string server_name_;
  std::string service_name_;
  std::string errorlog_name_;
  std::string home_;
  std::string version_;
  std::string extra_text_1_;
  std::string cluster_name_;
  std::string extra_text_2_;
  std::string extra_text_3_;
  std::string tcp_port_;
};

class DbServerOra : public DbServer {
 public:
  explicit DbServerOra(const std::string& sid) : DbServer(1), sid_(sid) {}
  void readDetails() override;
  void dump(std::FILE* out) const override;
  SQXA_TEXT_FIELD(Sid, sid_)
  SQXA_TEXT_FIELD(InitFileName, init_file_name_)
  [[nodiscard]] const std::string& getDbName() const { return db_name_; }
  [[nodiscard]] const std::string& getUserDumpDest() const { return user_dump_dest_; }

 private:
  std::string sid_;
  std::string init_file_name_;
  std::string db_name_;
  std::string user_dump_dest_;
};

class DbServerSyb : public DbServer {
 public:
  DbServerSyb() : DbServer(2) {}
  void dump(std::FILE* out) const override;
  SQXA_TEXT_FIELD(AddedText1, added_text_1_)
  SQXA_TEXT_FIELD(AddedText2, added_text_2_)

 private:
  std::string added_text_1_;
  std::string added_text_2_;
};

class DbServerSql : public DbServer {
 public:
  DbServerSql() : DbServer(3) {}
  void dump(std::FILE* out) const override;
  SQXA_TEXT_FIELD(MasterDataFile, master_data_file_)

 private:
  std::string master_data_file_;
};

// Informix servers report the SQL Server kind: the lists of the agents built
// on this library have always filed them so, and their readers expect it.
class DbServerIfx : public DbServer {
 public:
  DbServerIfx() : DbServer(3) {}
  void dump(std::FILE* out) const override;
  SQXA_TEXT_FIELD(ConfigFile, config_file_)

 private:
  std::string config_file_;
};
#undef SQXA_TEXT_FIELD

}  // namespace discovery
