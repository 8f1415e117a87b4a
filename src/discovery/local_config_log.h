// The discovery log of a run: MARLOX_HOME "\ORVAGT6_x64\logs\SQ_LocalConfig.log",
// started afresh by the first message of the run. Without MARLOX_HOME nothing
// is written.
#pragma once

#include "platform/printf_format.h"

namespace discovery {

void localConfigLog(const char* format, ...) SQXA_PRINTF(1, 2);
// Forgets the run's log path, so that the next message starts the file again.
void resetLocalConfigLogForTesting();

}  // namespace discovery
