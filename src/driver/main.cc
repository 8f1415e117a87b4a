// sq_xa: the configuration utility of the agent for Microsoft SQL Server.
//
//   sq_xa -p|-g|-r|-i [<MSN>]
//
// Only the second character of the switch selects the operation; the exit
// status is the operation's.
#include <cstdio>
#include <cstring>

#include "driver/exit_status.h"
#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/usage.h"
#include "framework/startup.h"
#include "framework/trace.h"
#include "support/server_kind.h"

namespace {

// The product this build configures.
constexpr const char* kProductCode = "sq";

support::ServerKind ServerKindOf(const char* product) {
  if (std::strcmp(product, "or") == 0) return support::ServerKind::kOracle;
  if (std::strcmp(product, "sq") != 0) return support::ServerKind::kSybase;
  return support::ServerKind::kSqlServer;
}

}  // namespace

int main(int argc, char** argv) {
  RAS1_Event("main", RAS1_EV_ENTRY);
  BSS1_Main(&argc, &argv, "vdb_xa");

  if ((argc != 2 && argc != 3) || std::strlen(argv[1]) != 2) {
    driver::usage();
    RAS1_Event("main", RAS1_EV_EXIT, driver::StatusNumber(driver::ExitStatus::kUsage));
    return driver::StatusNumber(driver::ExitStatus::kUsage);
  }
  support::SetServerKind(ServerKindOf(kProductCode));
  const char* msn = argc == 3 && argv[2][0] != '\0' ? argv[2] : nullptr;

  int status = driver::StatusNumber(driver::ExitStatus::kDone);
  switch (const char operation = argv[1][1]) {
    case 'g':
      status = driver::doConfigGet(msn);
      break;
    case 'i':
      status = driver::doGetInstance(msn);
      break;
    case 'p':
      status = driver::doConfigPut(msn);
      break;
    case 'r':
      status = driver::doRemoveInstance(msn);
      break;
    default:
      std::fprintf(stderr, "Unknown switch: -%c.\n", operation);
      break;
  }
  std::fflush(stdout);
  RAS1_Event("main", RAS1_EV_EXIT, status);
  RAS1_Shutdown();
  return status;
}
