#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "common/host_registry.h"
#include "platform/system.h"

namespace sqxa_test {

bool LoadHost(const std::string& regText) {
  for (const char* root :
       {"Microsoft\\Microsoft SQL Server", "Microsoft\\MSSQLServer", "Oracle", "Sybase", "Marlox",
        "SqXaTest"}) {
    (void)std::system(("reg delete \"HKLM\\Software\\" + std::string(root) + "\" /f >nul 2>&1").c_str());
  }
  // reg reads hex(2) and hex(7) data as ANSI unless the file is UTF-16LE with a
  // byte order mark; the hosts are ASCII, so each byte widens to one unit.
  std::string wide = "\xff\xfe";
  for (char c : regText) wide += {c, '\0'};
  static int generation = 0;
  const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                     ("sqxa-host-" + std::to_string(platform::CurrentProcessId()) +
                                      "-" + std::to_string(++generation) + ".reg");
  std::ofstream(path, std::ios::binary) << wide;
  // Wine's reg tool now and then fails an import that succeeds when repeated.
  bool imported = false;
  for (int attempt = 0; attempt < 3 && !imported; ++attempt) {
    imported = std::system(("reg import \"" + path.string() + "\" >nul 2>&1").c_str()) == 0;
  }
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
  return imported;
}

}  // namespace sqxa_test
