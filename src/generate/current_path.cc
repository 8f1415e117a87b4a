#include "generate/current_path.h"

namespace generate {

std::string& CurrentFilePath() {
  static std::string path;
  return path;
}

}  // namespace generate
