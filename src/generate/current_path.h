// The path of the instance file being generated, held program-wide: the .ini
// writers set it first and read it back for the profile-section calls and the
// traces; the Informix .bat writer keeps its path there too.
#pragma once

#include <string>

namespace generate {

[[nodiscard]] std::string& CurrentFilePath();

}  // namespace generate
