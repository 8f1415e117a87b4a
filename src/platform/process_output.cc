#include "platform/process_output.h"

#include "platform/process.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform {

std::string TimeLimitText(unsigned limit_ms) {
  return "the time limit of " + (limit_ms % 1000 == 0 ? std::to_string(limit_ms / 1000) + " seconds"
                                                      : std::to_string(limit_ms) + " ms");
}

OutputCollector::~OutputCollector() {
  if (thread_.joinable()) thread_.detach();
}

void OutputCollector::Start(ReadChunk read, std::function<void()> close) {
  collected_ = std::make_shared<Collected>();
  thread_ = std::thread([read = std::move(read), close = std::move(close), collected = collected_] {
    char chunk[65536];
    for (long count; (count = read(chunk, sizeof chunk)) > 0;) {
      collected->data.append(chunk, static_cast<size_t>(count));
    }
    close();
  });
}

void OutputCollector::Join() {
  if (thread_.joinable()) thread_.join();
}

int OutputCollector::Read(char* buffer, int size) {
  if (!collected_ || thread_.joinable() || size <= 0) return 0;
  Collected& c = *collected_;
  const size_t count = std::min(static_cast<size_t>(size), c.data.size() - c.read);
  std::memcpy(buffer, c.data.data() + c.read, count);
  c.read += count;
  return static_cast<int>(count);
}

}  // namespace platform
