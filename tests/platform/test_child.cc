// A small child program for the process tests: "exit N", "flood BYTES" (to
// standard output, then standard error), "echo" (input to output), "args ..."
// (one a line), "sleep MS", "crash" (an illegal instruction: a signal, or an
// exception it does not handle on Windows; no sanitizer makes it an exit).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

int main(int argc, char** argv) {
  const std::string mode = argc >= 2 ? argv[1] : "";
  const char* value = argc >= 3 ? argv[2] : nullptr;
  if (mode == "exit" && value) return std::atoi(value);
  if (mode == "flood" && value) {
    for (std::FILE* stream : {stdout, stderr}) {
      for (long left = std::atol(value); left > 0; --left) std::fputc('x', stream);
      std::fflush(stream);
    }
    return 0;
  }
  if (mode == "echo") {
    char buffer[4096];
    for (size_t count; (count = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;)
      if (std::fwrite(buffer, 1, count, stdout) != count) return 1;
    return 0;
  }
  if (mode == "args") {
    for (int i = 2; i < argc; ++i) std::printf("%s\n", argv[i]);
    return 0;
  }
  if (mode == "sleep" && value) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::atol(value)));
    return 0;
  }
  if (mode == "crash") __builtin_trap();
  std::fputs("usage: see test_child.cc\n", stderr);
  return 2;
}
