// The usage text of the command line.
#pragma once

namespace driver {

// Writes the usage text to standard error.
void usage();

}  // namespace driver
