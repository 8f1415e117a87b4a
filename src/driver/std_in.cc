#include "driver/std_in.h"

#include <cstdio>

#include "framework/trace.h"

namespace driver {

bool readStdIn(std::string* stream) {
  const unsigned levels = RAS1_Sync();
  char chunk[1024];
  for (;;) {
    const size_t n = std::fread(chunk, 1, sizeof chunk, stdin);
    if (n == 0) break;
    if (levels & RAS1_DETAIL) {
      RAS1_Printf(RAS1_DETAIL, "readStdIn", "readStdIn: read %d bytes from stdin",
                  static_cast<int>(n));
    }
    if (stream->size() + n > kMaxStreamBytes) return false;
    stream->append(chunk, n);
  }
  if (levels & RAS1_DETAIL)
    RAS1_Printf(RAS1_DETAIL, "readStdIn", "Stream contents: %s", stream->c_str());
  return true;
}

}  // namespace driver
