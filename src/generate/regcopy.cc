#include "generate/regcopy.h"

#include <cstdio>

#include "framework/child_process.h"

namespace generate {

void RunRegcopy(const std::string& home) {
  std::fflush(nullptr);
  VFW::Process child(home + "/bin/regcopy", {});
  if (!child.start()) return;
  child.getStdIn().close();
  int exit_code = 0;
  (void)child.wait(&exit_code);
}

}  // namespace generate
