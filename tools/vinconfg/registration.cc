#include "registration.h"

#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#include "framework/product_dirs.h"
#include "instance_file.h"
#include "placeholders.h"
#include "platform/registry.h"

namespace vinconfg {
namespace {

constexpr const char* kProducts = "Software\\Marlox\\";

// The values of the instance's key: local settings first, the overrides after
// them; a name keeps its first place and takes its last value.
std::vector<platform::RegValue> EnvironmentValues(const InstanceFile& file,
                                                  const Placeholders& placeholders) {
  std::vector<platform::RegValue> values;
  std::map<std::string, size_t> index;  // upper-case name -> place in values
  for (const char* section : {"Local Settings", "Override Local Settings"}) {
    for (const Entry& entry : file.EntriesOf(section)) {
      if (entry.first.empty()) continue;  // a value needs a name here
      const std::string data = Resolve(entry.second, placeholders);
      const auto [place, added] = index.try_emplace(UpperCase(entry.first), values.size());
      if (added) {
        values.push_back({entry.first, platform::kRegSz, data});
      } else {
        values[place->second].data = data;
      }
    }
  }
  return values;
}

}  // namespace

int RegisterInstance(const std::string& iniPath, const std::string& instance) {
  std::string etc;  // the agent's directory, with its final separator
  if (!VFW::Util::getMarloxConfigDir("SQ", &etc) || etc.empty()) {
    std::fprintf(stderr, "vinconfg: MARLOX_HOME is not set\n");
    return kNoHome;
  }
  InstanceFile file;
  if (!file.Load(iniPath)) {
    std::fprintf(stderr, "vinconfg: cannot read the instance file '%s'\n", iniPath.c_str());
    return kBadInstanceFile;
  }
  const std::string product = file.ValueOf("Identity", "MarProd");
  const std::string version = file.ValueOf("Identity", "MarVers");
  if (product.empty() || version.empty()) {
    std::fprintf(stderr, "vinconfg: '%s' names no product and version in [Identity]\n",
                 iniPath.c_str());
    return kBadInstanceFile;
  }
  const std::string path = kProducts + product + "\\" + version + "\\" + instance + "\\Environment";
  std::unique_ptr<platform::Registry> hive;
  long status = platform::Registry::Connect("", &hive);
  if (status == platform::kRegSuccess) {
    status = hive->ReplaceValues(
        path,
        EnvironmentValues(file, PlaceholdersFor(etc.substr(0, etc.size() - 1), file, instance)));
  }
  if (status != platform::kRegSuccess) {
    std::fprintf(stderr, "vinconfg: cannot write the registry key '%s' (status %ld)\n",
                 path.c_str(), status);
    return kRegistryFailed;
  }
  return kDone;
}

int UnregisterInstance(const std::string& product, const std::string& instance) {
  const std::string versions_path = kProducts + product;
  std::unique_ptr<platform::Registry> hive;
  long status = platform::Registry::Connect("", &hive);
  std::vector<std::string> versions;
  if (status == platform::kRegSuccess) {
    std::unique_ptr<platform::RegistryKey> key;
    status = hive->OpenKey(versions_path, platform::kKeyRead, &key);
    if (status == platform::kRegFileNotFound) return kDone;  // the product has no instance
    std::string name;
    for (uint32_t i = 0;
         status == platform::kRegSuccess && key->EnumSubKey(i, &name) == platform::kRegSuccess;
         ++i) {
      versions.push_back(name);
    }
  }
  for (size_t i = 0; status == platform::kRegSuccess && i < versions.size(); ++i) {
    const std::string path = versions_path + "\\" + versions[i] + "\\" +
                             (instance.empty() ? std::string("Environment") : instance);
    status = hive->DeleteTree(path);
    if (status == platform::kRegFileNotFound) status = platform::kRegSuccess;
  }
  if (status != platform::kRegSuccess) {
    std::fprintf(stderr,
                 "vinconfg: cannot remove instance '%s' of %s from the registry (status %ld)\n",
                 instance.c_str(), product.c_str(), status);
    return kRegistryFailed;
  }
  return kDone;
}

}  // namespace vinconfg
