// The operations of the command line; each answers the exit status.
#pragma once

namespace driver {

[[nodiscard]] int doConfigGet(const char* msn);
[[nodiscard]] int doConfigPut(const char* msn);
[[nodiscard]] int doRemoveInstance(const char* msn);

}  // namespace driver
