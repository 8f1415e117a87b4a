// Environment helpers of the common library, with their reports.
#pragma once

// Reads the variable `name`. Modes: 1 reports an unset variable (uen0015), an
// empty one (uen0010, counted as absent) and the use of the default (uen0020);
// -1 never copies: it answers the environment's own value, or puts a
// non-empty default into the environment and answers env_put's pointer (the
// caller owns neither); 0 and -2 are quiet. The other modes answer an owned
// copy of the value or of the default (free with util_free), or null.
[[nodiscard]] char* env_get(const char* name, int mode, const char* defaultValue);

// Sets "name=value" in the environment of this process and its children and
// answers the address of the value inside the stored text, which is never
// freed; null (after the uen0045 report) when it cannot be set.
char* env_put(const char* name, const char* value);
