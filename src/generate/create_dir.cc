#include "generate/create_dir.h"

#include <cerrno>

#include "platform/files.h"

namespace generate {

int create_dir(config::DbConfigList& list, const std::string& path) {
  const std::string::size_type last = path.rfind('\\');
  const std::string directories = last == std::string::npos ? path : path.substr(0, last);

  std::string prefix;
  std::string::size_type start = 0;
  while (start < directories.size()) {
    const std::string::size_type end = directories.find('\\', start);
    const bool final_component = end == std::string::npos;
    prefix += directories.substr(start, final_component ? std::string::npos : end - start);
    prefix += '\\';
    list.Output(Channel::kLog, "create_dir(): _mkdir('%s')\n", prefix.c_str());
    if (const int status = platform::MakeDirectory(prefix); status != 0) {
      if (status == ENOENT) {
        list.Output(Channel::kLog, "\nERROR: create_dir(): can't create '%s'\n", prefix.c_str());
        return 0;
      }
      list.Output(Channel::kLog, "create_dir(): _mkdir return code %d, errno =%d \n", -1, status);
    }
    if (final_component) break;
    start = end + 1;
  }
  list.Output(Channel::kLog, "create_dir(): exiting\n");
  return 1;
}

}  // namespace generate
