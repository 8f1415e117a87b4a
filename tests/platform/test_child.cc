// A small child program for the process tests:
//   sqxa_test_child exit N        exits with code N
//   sqxa_test_child flood BYTES   writes BYTES bytes to standard output, then
//                                 to standard error, then exits 0
//   sqxa_test_child echo          copies standard input to standard output
//   sqxa_test_child args ...      writes each argument on a line of its own
//   sqxa_test_child env NAME      writes the value of the environment variable NAME
//   sqxa_test_child sleep MS      waits MS milliseconds, then exits 0
//   sqxa_test_child crash         dies of an illegal instruction (a signal, or
//                                 an exception it does not handle on Windows)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

int Flood(long bytes) {
  const std::string chunk(4096, 'x');
  for (std::FILE* stream : {stdout, stderr}) {
    for (long left = bytes; left > 0;) {
      const size_t count = static_cast<size_t>(std::min<long>(left, 4096));
      if (std::fwrite(chunk.data(), 1, count, stream) != count) return 1;
      left -= static_cast<long>(count);
    }
    std::fflush(stream);
  }
  return 0;
}

int Echo() {
  char buffer[4096];
  size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, stdin)) > 0) {
    if (std::fwrite(buffer, 1, count, stdout) != count) return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 3 && std::strcmp(argv[1], "exit") == 0) return std::atoi(argv[2]);
  if (argc >= 3 && std::strcmp(argv[1], "flood") == 0) return Flood(std::atol(argv[2]));
  if (argc >= 2 && std::strcmp(argv[1], "echo") == 0) return Echo();
  if (argc >= 2 && std::strcmp(argv[1], "args") == 0) {
    for (int i = 2; i < argc; ++i) std::printf("%s\n", argv[i]);
    return 0;
  }
  if (argc >= 3 && std::strcmp(argv[1], "env") == 0) {
    const char* value = std::getenv(argv[2]);
    std::fputs(value != nullptr ? value : "(unset)", stdout);
    return 0;
  }
  if (argc >= 3 && std::strcmp(argv[1], "sleep") == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::atol(argv[2])));
    return 0;
  }
  if (argc >= 2 && std::strcmp(argv[1], "crash") == 0) {
    // An illegal instruction: SIGILL, or exception 0xC000001D on Windows, and
    // no sanitizer turns it into an ordinary exit.
    __builtin_trap();
  }
  std::fputs(
      "usage: sqxa_test_child exit N | flood BYTES | echo | args ... | env NAME | sleep MS | "
      "crash\n",
      stderr);
  return 2;
}
