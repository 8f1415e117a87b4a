#include "support/line_reader.h"

#include <cstring>

namespace support {

bool ReadLineWithEnd(std::FILE* file, std::string* line) {
  line->clear();
  char chunk[1024];
  bool any = false;
  while (std::fgets(chunk, sizeof chunk, file) != nullptr) {
    any = true;
    const size_t length = std::strlen(chunk);
    line->append(chunk, length);
    if (length > 0 && chunk[length - 1] == '\n') break;
  }
  return any;
}

bool ReadLine(std::FILE* file, std::string* line) {
  if (!ReadLineWithEnd(file, line)) return false;
  if (!line->empty() && line->back() == '\n') line->pop_back();
  if (!line->empty() && line->back() == '\r') line->pop_back();
  return true;
}

}  // namespace support
