// Managed system names (MSN) and the agent instance names derived from them.
#pragma once

#include <string>

#include "driver/exit_status.h"

namespace driver {

// Derives the agent instance name from an MSN such as "inst1:host:X": the text
// before the first colon when there are two colons or more, the default
// instance ("") when there is one. False for an absent MSN (silently) and for
// one without a colon or ending in its only colon (reported).
[[nodiscard]] bool getInstanceName(const char* msn, std::string* instanceName);

// False for a name that cannot be part of a file name: one holding
// \ / : * ? " < > | or a control character, with a blank at either end, of
// 128 bytes or more, and the names "." and "..".
[[nodiscard]] bool isUsableInstanceName(const std::string& name);

// The instance name of the MSN when both are accepted; otherwise reports the
// one that is not and answers kNameNotAccepted.
[[nodiscard]] ExitStatus acceptInstanceName(const char* msn, std::string* instanceName);

// The -i operation: prints the instance name and a newline; 0, or 2 when the
// MSN is not accepted.
[[nodiscard]] int doGetInstance(const char* msn);

}  // namespace driver
