// Files that hold secrets. Such a file is readable and writable by the current
// user alone from the moment it exists (mode 0600 on POSIX systems; on Windows
// a protected access list granting the current user only), is written whole
// beside its target and appears under its name complete or not at all.
#pragma once

#include <string>
#include <string_view>

#include "platform/files.h"

namespace platform {

// Creates the file `path` holding `contents`, unless a file of that name
// already exists: then EEXIST, and the existing file is left as it is. When two
// processes create the same file at once, exactly one succeeds and the other
// gets EEXIST, so both go on with the same contents. 0 on success, otherwise
// an errno value; nothing is left behind on failure.
[[nodiscard]] int CreatePrivateFile(const std::string& path, std::string_view contents);

// Whether `path` is a private file, as a file holding a key must be: a regular
// file that no other user may read or write (on POSIX systems, owned by the
// current user or root, with no group or other permission bits; on Windows, an
// access list granting only the owner, the current user, SYSTEM and the
// Administrators). 0; ENOENT when there is none; EPERM when others may read or
// write it; EISDIR when it is no regular file; another errno value when it
// cannot be examined.
[[nodiscard]] int CheckPrivateFile(const std::string& path);

// Opens the log `path` for appending, creating it readable and writable by
// the current user alone when it is missing. A symbolic link (a reparse point
// on Windows) in its place is not followed: ELOOP, so that nobody can make a
// run write its log into a file of their choice. 0 or an errno value.
[[nodiscard]] int OpenPrivateLog(const std::string& path, File* file);

}  // namespace platform
