#include "support/time_text.h"

#include <cstdio>
#include <ctime>

char* time_text(char* buffer, int style) {
  static char static_buffer[48];
  char* out = buffer != nullptr ? buffer : static_buffer;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (const std::tm* converted = std::localtime(&now); converted != nullptr) local = *converted;
  const int year = local.tm_year < 81 ? local.tm_year + 2000 : local.tm_year + 1900;
  const int month = local.tm_mon + 1;
  // Every style fits the 48 bytes callers provide.
  switch (style) {
    case 1:
      std::snprintf(out, 48, "%04d/%02d/%02d %02d:%02d:%02d", year, month, local.tm_mday,
                    local.tm_hour, local.tm_min, local.tm_sec);
      break;
    case 2:
      // The form of "%c" in the C locale of the Windows runtime, on every
      // platform: other runtimes spell "%c" differently.
      std::snprintf(out, 48, "%02d/%02d/%02d %02d:%02d:%02d", month, local.tm_mday, year % 100,
                    local.tm_hour, local.tm_min, local.tm_sec);
      break;
    case 3:
      std::snprintf(out, 48, "%03d%02d%02d%02d%02d%02d", year - 1900, month, local.tm_mday,
                    local.tm_hour, local.tm_min, local.tm_sec);
      break;
    case 4:
      std::snprintf(out, 48, "%03d%02d%02d%02d%02d%02d%03d", year - 1900, month, local.tm_mday,
                    local.tm_hour, local.tm_min, local.tm_sec, 0);
      break;
    default:
      std::snprintf(out, 48, "%04d%02d%02d%02d%02d%02d", year, month, local.tm_mday, local.tm_hour,
                    local.tm_min, local.tm_sec);
      break;
  }
  return out;
}

char* msg_time_hms(char* buffer) {
  static char static_buffer[8];
  char* out = buffer != nullptr ? buffer : static_buffer;
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  if (local == nullptr || std::strftime(out, 8, "%H%M%S", local) == 0) out[0] = '\0';
  return out;
}
