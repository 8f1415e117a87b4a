// The Win32 registry: the test root is deleted and the fixture imported with
// the system's reg tool, as an administrator would.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include "platform/registry_fixture.h"
#include "platform/system.h"

namespace sqxa_test {
namespace {

// The fixture as the Registry Editor writes it: UTF-16LE with a byte order mark.
// reg reads hex(2) and hex(7) data of a file without one as ANSI text. Fixtures
// are ASCII, so each byte widens to one UTF-16 unit.
bool WriteUtf16Copy(const std::string& from, const std::filesystem::path& to) {
  std::ifstream in(from, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in) return false;
  std::string wide = "\xff\xfe";
  for (char c : text.str()) {
    wide.push_back(c);
    wide.push_back('\0');
  }
  std::ofstream out(to, std::ios::binary);
  out << wide;
  return static_cast<bool>(out);
}

int Run(const std::string& command) { return std::system((command + " >nul 2>&1").c_str()); }

}  // namespace

bool LoadRegistryFixture(const std::string& name) {
  const std::string root = std::string("HKLM\\") + kRegistryTestRoot;
  (void)Run("reg delete \"" + root + "\" /f");  // absent the first time
  const std::filesystem::path copy =
      std::filesystem::temp_directory_path() /
      ("sqxa-registry-" + std::to_string(platform::CurrentProcessId()) + ".reg");
  if (!WriteUtf16Copy(std::string(SQXA_FIXTURE_DIR) + "/registry/" + name, copy)) return false;
  const bool imported = Run("reg import \"" + copy.string() + "\"") == 0;
  std::error_code ignored;
  std::filesystem::remove(copy, ignored);
  return imported;
}

}  // namespace sqxa_test
