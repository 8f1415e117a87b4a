#include "support/environment.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/system.h"
#include "support/memory.h"
#include "support/message.h"

char* env_get(const char* name, int mode, const char* defaultValue) {
  const bool has_default = defaultValue != nullptr && *defaultValue != '\0';
  const char* type = has_default ? "i" : "w";

  char* const found = std::getenv(name);
  const char* value = found;
  if (value != nullptr && *value == '\0') {
    if (mode == 1) {
      msg_write(nullptr, "vdbutil", 1888, type, "uen0010",
                "Environment variable \"%s\" is not available\n", name);
    }
    value = nullptr;
  } else if (value == nullptr && mode == 1) {
    msg_write(nullptr, "vdbutil", 1897, type, "uen0015", "Environment variable \"%s\" not set\n",
              name);
  }

  char* result = nullptr;
  if (mode == -1) {
    // Never a copy: the environment's own text, or the default put there.
    if (value != nullptr) {
      result = found;
    } else if (has_default) {
      result = env_put(name, defaultValue);
    }
  } else {
    if (value == nullptr && has_default) {
      if (mode == 1)
        msg_write(nullptr, "vdbutil", 1903, "i", "uen0020", "Using default of %s\n", defaultValue);
      value = defaultValue;
    }
    if (value != nullptr) {
      const int size = static_cast<int>(std::strlen(value)) + 1;
      result = static_cast<char*>(util_malloc(size, "vdbutil", 1917, "strlen(ret)+1"));
      if (result != nullptr) std::memcpy(result, value, static_cast<size_t>(size));
    }
  }

  if (msg_trace_switch(3) && mode != -2 && mode != 1) {
    if (result != nullptr) {
      msg_write(nullptr, "vdbutil", 1927, "t", "uen0025", "Env var %s=%s.\n", name, result);
    } else {
      msg_write(nullptr, "vdbutil", 1931, "t", "uen0026", "Env var %s was not set.\n", name);
    }
  }
  return result;
}

char* env_put(const char* name, const char* value) {
  const size_t name_length = std::strlen(name);
  const size_t value_length = value != nullptr ? std::strlen(value) : 0;
  auto* text = static_cast<char*>(
      util_malloc(static_cast<int>(name_length + value_length + 2), "vdbutil", 1961, "size+1+1"));
  if (text == nullptr) return nullptr;
  std::memcpy(text, name, name_length);
  text[name_length] = '\0';
  if (value != nullptr) {
    text[name_length] = '=';
    std::memcpy(text + name_length + 1, value, value_length + 1);
  }
  // A bare name is refused, as the Windows runtime refuses it.
  if (value == nullptr || !platform::SetEnvironment(name, value)) {
    msg_write(nullptr, "vdbutil", 1974, "e", "uen0045",
              "Environment variable \"%s\" could not be set.", text);
    util_free(text);
    return nullptr;
  }
  // The text stays for the rest of the run: callers hold pointers into it.
  static auto* const kept = new std::vector<char*>();
  kept->push_back(text);
  if (msg_trace_switch(0)) {
    msg_write(nullptr, "vdbutil", 1979, "t", "uen0046", "Set environment variable \"%s\".", text);
  }
  return text + name_length + 1;
}
