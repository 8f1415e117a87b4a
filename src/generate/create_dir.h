// Makes every directory on the way to a file.
#pragma once

#include <string>

#include "config/db_config_list.h"

namespace generate {

using support::Channel;
using support::ServerKind;

// Makes the directories of `path` (a file path with backslashes) one after the
// other from its start: 1 when done, 0 when one could not be made because its
// parent is missing. Any other failure (the directory exists, a drive root)
// is traced and passed over, so that the open that follows tells.
[[nodiscard]] int create_dir(config::DbConfigList& list, const std::string& path);

}  // namespace generate
