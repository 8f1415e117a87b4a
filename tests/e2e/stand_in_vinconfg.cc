// A stand-in for the framework's instance-creation tool: it appends its
// argument and what it read on its standard input to "vinconfg.log" beside
// itself, and exits with the status in SQXA_STAND_IN_EXIT (0 when unset).
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  std::string log = argv[0];
  const size_t separator = log.find_last_of("\\/");
  log = (separator == std::string::npos ? std::string() : log.substr(0, separator + 1)) +
        "vinconfg.log";
  std::string input;
  char chunk[1024];
  for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, stdin)) > 0;) input.append(chunk, n);
  if (std::FILE* out = std::fopen(log.c_str(), "ab"); out != nullptr) {
    std::fprintf(out, "args:");
    for (int i = 1; i < argc; ++i) std::fprintf(out, " [%s]", argv[i]);
    std::fprintf(out, "\nstdin: [%s]\n", input.c_str());
    std::fclose(out);
  }
  const char* status = std::getenv("SQXA_STAND_IN_EXIT");
  return status != nullptr ? std::atoi(status) : 0;
}
