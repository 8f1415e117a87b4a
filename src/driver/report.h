// Error reports of the operations: "Error line(<source line>): <message>" on
// standard error, and the message in the error trace.
#pragma once

#include "platform/printf_format.h"

namespace driver {

void reportError(int line, const char* function, const char* lead, const char* format, ...)
    SQXA_PRINTF(4, 5);

}  // namespace driver

// The report of the calling line.
#define REPORT_ERROR(...) ::driver::reportError(__LINE__, __func__, "", __VA_ARGS__)
// The same with the blank in front that some reports carry (" Error line(...").
#define REPORT_ERROR_INDENTED(...) ::driver::reportError(__LINE__, __func__, " ", __VA_ARGS__)
