#include "generate/sql_server_settings.h"

#include <string>

#include "generate/bat_text.h"

namespace generate {

namespace {

// A value from the record as the file must hold it.
std::string Text(const SettingSyntax& syntax, const std::string& value) {
  return syntax.batch ? BatText(value) : value;
}

// `text` is written as it is: it may hold the file's own reference to the
// computer's name, which must not be escaped.
void PutText(config::DbConfigList& list, const SettingSyntax& syntax, const char* key,
             const std::string& text) {
  list.Output(syntax.channel, "%s%s=%s\n", syntax.prefix, key, text.c_str());
}

void Put(config::DbConfigList& list, const SettingSyntax& syntax, const char* key,
         const std::string& value) {
  PutText(list, syntax, key, Text(syntax, value));
}

void Put(config::DbConfigList& list, const SettingSyntax& syntax, const char* key, int value) {
  list.Output(syntax.channel, "%s%s=%d\n", syntax.prefix, key, value);
}

}  // namespace

void WriteSqlServerTuning(config::DbConfigList& list, const SettingSyntax& syntax,
                          const config::DbConfig& record) {
  const bool named = list.IsNamedInstance(record.getHomeDir()) != 0;
  const std::string service_point =
      std::string(syntax.computer_name) +
      Text(syntax, named ? "_SQ_" + record.getServerName() : std::string("_SQ"));
  PutText(list, syntax, "KDH_SERVICEPOINT", service_point);
  PutText(list, syntax, "IRA_SERVICE_INTERFACE_NAME", service_point);
  Put(list, syntax, "VSQ_NAMED_INSTANCE", named ? "1" : "0");
  Put(list, syntax, "COLL_INCLUDE_DBNAMES", record.getIncludeDbNames());
  Put(list, syntax, "COLL_TBLD_DAILY_FREQUENCY", record.getTbldDailyFrequency());
  Put(list, syntax, "COLL_TBLD_WEEKLY_FREQUENCY", record.getTbldWeeklyFrequency());
  Put(list, syntax, "COLL_TBLD_MONTHLY_FREQUENCY", record.getTbldMonthlyFrequency());
  Put(list, syntax, "COLL_TBLD_CTIME_HRS", record.getTbldCtimeHrs());
  Put(list, syntax, "COLL_TBLD_CTIME_MINS", record.getTbldCtimeMins());
  Put(list, syntax, "COLL_ERRORLOG_STARTUP_MAX_TIME", record.getErrorlogStartupMaxTime());
  Put(list, syntax, "COLL_ERRORLOG_STARTUP_MAX_EVENT_ROW", record.getErrorlogStartupMaxEventRow());
  Put(list, syntax, "COLL_ERRORLOG_MAX_EVENT_ROW", record.getErrorlogMaxEventRow());
}

}  // namespace generate
