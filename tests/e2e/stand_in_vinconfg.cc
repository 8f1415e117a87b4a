// A stand-in for the framework's instance-creation tool that registers
// nothing. It appends its arguments and its standard input to "vinconfg.log"
// beside itself and exits with the status in SQXA_STAND_IN_EXIT (0 when
// unset). SQXA_STAND_IN_FLOOD, a byte count, has it first write that many "o"
// to its standard output and "e" to its standard error, far more than a pipe
// holds. SQXA_STAND_IN_MODE=crash has it die of an access violation (SIGSEGV,
// or exception 0xC0000005 on Windows) once its call is logged.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

// The store goes through a pointer read back from a volatile object, so the
// compiler must emit it; the undefined-behaviour sanitizer would end the
// process with a report of its own instead of letting the fault happen.
__attribute__((no_sanitize("undefined"))) void Crash() {
  int* volatile nowhere = nullptr;
  *static_cast<volatile int*>(nowhere) = 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::string log = argv[0];
  log = log.substr(0, log.find_last_of("\\/") + 1) + "vinconfg.log";
  std::string input;
  char chunk[1024];
  for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, stdin)) > 0;) input.append(chunk, n);
  if (std::FILE* out = std::fopen(log.c_str(), "ab"); out != nullptr) {
    std::fprintf(out, "args:");
    for (int i = 1; i < argc; ++i) std::fprintf(out, " [%s]", argv[i]);
    std::fprintf(out, "\nstdin: [%s]\n", input.c_str());
    std::fclose(out);
  }
  if (const char* mode = std::getenv("SQXA_STAND_IN_MODE"); mode && std::string(mode) == "crash") {
    Crash();
  }
  if (const char* flood = std::getenv("SQXA_STAND_IN_FLOOD"); flood != nullptr) {
    for (auto [stream, byte] : {std::pair{stdout, 'o'}, std::pair{stderr, 'e'}}) {
      const std::string text(static_cast<size_t>(std::atol(flood)), byte);
      std::fwrite(text.data(), 1, text.size(), stream);
      std::fflush(stream);
    }
  }
  const char* status = std::getenv("SQXA_STAND_IN_EXIT");
  return status != nullptr ? std::atoi(status) : 0;
}
