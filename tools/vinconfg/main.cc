// vinconfg: registers and unregisters agent instances for the agent
// framework, as the utility asks it to with one option text:
//
//   vinconfg -ci<PROD>~<instance .ini file>~<instance>
//   vinconfg -ui<PROD><instance>
//
// The product code <PROD> has three letters. In "-ci" the instance follows
// the last "~", so the file path may hold one (as short Windows names do).
#include <cstdio>
#include <string>

#include "framework/product_dirs.h"
#include "registration.h"

namespace {

constexpr size_t kProductCodeSize = 3;

int Usage() {
  std::fprintf(stderr,
               "usage: vinconfg -ci<PROD>~<instance .ini file>~<instance>  register an instance\n"
               "       vinconfg -ui<PROD><instance>                        unregister it\n"
               "<PROD> is the agent's three-letter product code, such as VSQ.\n");
  return vinconfg::kUsage;
}

}  // namespace

int main(int argc, char** argv) {
  VFW::Util::useMarloxRegistryFile();
  if (argc != 2) return Usage();
  const std::string option = argv[1];
  if (option == "--version") {
    std::printf("vinconfg %s\n", SQXA_VERSION);
    return 0;
  }
  const std::string command = option.substr(0, 3);
  const std::string rest = option.size() > 3 ? option.substr(3) : std::string();
  if (command == "-ci") {
    const size_t first = rest.find('~');
    const size_t last = rest.rfind('~');
    if (first != kProductCodeSize || last == first || last == first + 1) return Usage();
    return vinconfg::RegisterInstance(rest.substr(first + 1, last - first - 1),
                                      rest.substr(last + 1));
  }
  if (command == "-ui" && rest.size() >= kProductCodeSize && rest.find('~') == std::string::npos) {
    return vinconfg::UnregisterInstance(rest.substr(0, kProductCodeSize),
                                        rest.substr(kProductCodeSize));
  }
  return Usage();
}
