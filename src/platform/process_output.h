// What the backends of the process seam share: the collection of a child's
// output by a thread of its own, so that a child writing more than a pipe
// holds never blocks while the parent waits for it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace platform {

class OutputCollector {
 public:
  // Reads up to `size` bytes of the pipe into `buffer`: the count, 0 at the
  // end, less than 0 on an error (either ends the collection).
  using ReadChunk = std::function<long(char* buffer, unsigned size)>;

  OutputCollector() = default;
  OutputCollector(const OutputCollector&) = delete;
  OutputCollector& operator=(const OutputCollector&) = delete;
  ~OutputCollector();  // a child still running keeps its thread, which ends with it

  // Collects from now on with `read`, and calls `close` at the end.
  void Start(ReadChunk read, std::function<void()> close);
  // Waits for the end of the output (the child has ended).
  void Join();
  // After Join: up to `size` bytes of what was collected; 0 at the end.
  [[nodiscard]] int Read(char* buffer, int size);

 private:
  // Shared with the thread, so that a collector destroyed while the child
  // runs does not pull the buffer from under it.
  struct Collected {
    std::string data;
    size_t read = 0;
  };
  std::shared_ptr<Collected> collected_;
  std::thread thread_;
};

}  // namespace platform
