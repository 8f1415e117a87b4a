#include "generate/regcopy.h"

#include "framework/child_process.h"

namespace generate {

void RunRegcopy(const std::string& home) {
  VFW::Process child(home + "/bin/regcopy", {});
  if (!child.start()) return;
  child.getStdIn().close();
  int exit_code = 0;
  (void)child.wait(&exit_code);
}

}  // namespace generate
