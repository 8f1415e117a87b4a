// The Informix home directory's regcopy program, run after each Informix
// agent file is written so that the Informix installation picks it up.
#pragma once

#include <string>

namespace generate {

// Flushes every open stream, then runs "<home>/bin/regcopy" and waits for it.
// Its result, and a program that cannot be started, are ignored. The program
// is started directly rather than through the command interpreter, so that a
// home directory with blanks or shell characters cannot be misread.
void RunRegcopy(const std::string& home);

}  // namespace generate
