// regdump KEY: prints KEY (under HKEY_LOCAL_MACHINE) and every key below it,
// with their values, as the utility's registry layer reads them.
#include <cstdio>
#include <memory>
#include <string>

#include "framework/product_dirs.h"
#include "platform/registry.h"

namespace {

const char* TypeName(uint32_t type) {
  switch (type) {
    case platform::kRegSz:
      return "REG_SZ";
    case platform::kRegExpandSz:
      return "REG_EXPAND_SZ";
    case platform::kRegBinary:
      return "REG_BINARY";
    case platform::kRegDword:
      return "REG_DWORD";
    case platform::kRegMultiSz:
      return "REG_MULTI_SZ";
    case platform::kRegQword:
      return "REG_QWORD";
    default:
      return "REG_OTHER";
  }
}

bool Dump(platform::Registry& hive, const std::string& path, int depth) {
  std::unique_ptr<platform::RegistryKey> key;
  const long status = hive.OpenKey(path, platform::kKeyRead, &key);
  if (status != platform::kRegSuccess) {
    std::fprintf(stderr, "regdump: cannot open '%s' (status %ld)\n", path.c_str(), status);
    return false;
  }
  std::printf("%*s[%s]\n", depth * 2, "", path.c_str());
  platform::RegValue value;
  for (uint32_t i = 0; key->EnumValue(i, &value) == platform::kRegSuccess; ++i) {
    const bool text = value.type == platform::kRegSz || value.type == platform::kRegExpandSz ||
                      value.type == platform::kRegDword || value.type == platform::kRegQword;
    std::printf(
        "%*s  %s (%s) = %s\n", depth * 2, "", value.name.empty() ? "@" : value.name.c_str(),
        TypeName(value.type),
        text ? value.data.c_str() : ("<" + std::to_string(value.data.size()) + " bytes>").c_str());
  }
  std::string child;
  bool ok = true;
  for (uint32_t i = 0; key->EnumSubKey(i, &child) == platform::kRegSuccess; ++i) {
    ok = Dump(hive, path + "\\" + child, depth + 1) && ok;
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--version") {
    std::printf("regdump %s\n", SQXA_VERSION);
    return 0;
  }
  if (argc != 2) {
    std::fprintf(stderr, "usage: regdump KEY   (a key under HKEY_LOCAL_MACHINE)\n");
    return 2;
  }
  VFW::Util::useMarloxRegistryFile();
  std::unique_ptr<platform::Registry> hive;
  if (platform::Registry::Connect("", &hive) != platform::kRegSuccess) {
    std::fprintf(stderr, "regdump: the registry cannot be opened\n");
    return 1;
  }
  return Dump(*hive, argv[1], 0) ? 0 : 1;
}
