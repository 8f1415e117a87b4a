// A stand-in for the framework's instance-creation tool. It appends its
// argument and what it read on its standard input to "vinconfg.log" beside
// itself and exits with the status in SQXA_STAND_IN_EXIT (0 when unset). Like
// the real tool it registers an instance on "-ciVSQ~<ini file>~<instance>",
// with the "[Local Settings]" entries of the .ini file as they stand, and
// unregisters it on "-uiVSQ<instance>". With SQXA_STAND_IN_FLOOD set to a
// byte count it then writes that many "o" to its standard output and as many
// "e" to its standard error, far more than a pipe holds, before it exits.
// SQXA_STAND_IN_MODE plays a tool that goes wrong once its call is logged:
// "crash" dies of an access violation (SIGSEGV on Linux, exception 0xC0000005
// on Windows) before registering anything; "noregister" ends with status 0
// without registering.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "framework/product_dirs.h"
#include "platform/profile.h"
#include "platform/registry.h"

namespace {

constexpr const char* kInstances = "Software\\Marlox\\VSQ\\610\\";

void Register(const std::string& option) {
  const size_t second = option.find('~', 7);
  if (second == std::string::npos) return;
  const std::string ini = option.substr(7, second - 7);
  const std::string instance = option.substr(second + 1);
  std::vector<char> entries(65536);
  const uint32_t length = platform::ReadIniSection("Local Settings", entries.data(),
                                                   static_cast<uint32_t>(entries.size()), ini);
  std::unique_ptr<platform::Registry> hive;
  std::unique_ptr<platform::RegistryKey> key;
  if (platform::Registry::Connect("", &hive) != platform::kRegSuccess ||
      hive->CreateKey(kInstances + instance + "\\Environment", platform::kKeyAllAccess, &key) !=
          platform::kRegSuccess) {
    return;
  }
  for (const char* entry = entries.data(); entry < entries.data() + length && *entry != '\0';
       entry += std::string(entry).size() + 1) {
    const std::string text = entry;
    const size_t equals = text.find('=');
    if (equals == std::string::npos) continue;
    const std::string name = text.substr(0, equals);
    const std::string value = name == "COLL_SERVERID" ? instance : text.substr(equals + 1);
    (void)key->SetValue(name, platform::kRegSz, value);
  }
  (void)key->SetValue("COLL_SERVERID", platform::kRegSz, instance);
}

void Unregister(const std::string& instance) {
  std::unique_ptr<platform::Registry> hive;
  if (platform::Registry::Connect("", &hive) != platform::kRegSuccess) return;
  (void)hive->DeleteKey(kInstances + instance + "\\Environment", 0);
  (void)hive->DeleteKey(kInstances + instance, 0);
}

void Flood(std::FILE* stream, char byte, long count) {
  char chunk[4096];
  std::memset(chunk, byte, sizeof chunk);
  for (long left = count; left > 0;) {
    const size_t size =
        left < static_cast<long>(sizeof chunk) ? static_cast<size_t>(left) : sizeof chunk;
    std::fwrite(chunk, 1, size, stream);
    left -= static_cast<long>(size);
  }
  std::fflush(stream);
}

// The store goes through a pointer read back from a volatile object, so the
// compiler cannot see that it is null and must emit the store itself. The
// undefined-behaviour sanitizer would end the process with a report of its
// own instead of letting the fault happen.
__attribute__((no_sanitize("undefined"))) void Crash() {
  int* volatile nowhere = nullptr;
  *static_cast<volatile int*>(nowhere) = 1;
}

}  // namespace

int main(int argc, char** argv) {
  VFW::Util::useMarloxRegistryFile();
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
  const char* mode_variable = std::getenv("SQXA_STAND_IN_MODE");
  const std::string mode = mode_variable != nullptr ? mode_variable : "";
  if (mode == "crash") Crash();
  if (mode == "noregister") return 0;
  const std::string option = argc > 1 ? argv[1] : "";
  if (option.rfind("-ciVSQ~", 0) == 0) Register(option);
  if (option.rfind("-uiVSQ", 0) == 0) Unregister(option.substr(6));
  if (const char* flood = std::getenv("SQXA_STAND_IN_FLOOD"); flood != nullptr) {
    Flood(stdout, 'o', std::atol(flood));
    Flood(stderr, 'e', std::atol(flood));
  }
  const char* status = std::getenv("SQXA_STAND_IN_EXIT");
  return status != nullptr ? std::atoi(status) : 0;
}
