// Files that hold secrets. Such a file is readable and writable by the current
// user alone from the moment it exists (mode 0600 on POSIX systems; on Windows
// a protected access list granting the current user only), is written whole
// beside its target and appears under its name complete or not at all.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Creates the file `path` holding `contents`, unless a file of that name
// already exists: then EEXIST, and the existing file is left as it is. When two
// processes create the same file at once, exactly one succeeds and the other
// gets EEXIST, so both go on with the same contents. 0 on success, otherwise
// an errno value; nothing is left behind on failure.
[[nodiscard]] int CreatePrivateFile(const std::string& path, std::string_view contents);

}  // namespace platform
