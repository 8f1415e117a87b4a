// The install directories and the port of the list, in their four forms, and
// the tests and readers that go with them.
#include <cstdio>
#include <memory>
#include <string>

#include "config/db_config_list.h"
#include "discovery/registry_lookup.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "support/environment.h"
#include "support/memory.h"
#include "support/strings.h"

namespace config {

namespace {

// Directories read from the registry by ReadInstallDirs; they win over the
// environment in the directory setters.
struct InstallOverrides {
  std::string etc;
  std::string log;
  std::string bin;
  std::string dll;
};

InstallOverrides& Overrides() {
  static InstallOverrides overrides;
  return overrides;
}

// The variable's value, reported when it is unset or empty; "" then.
std::string Variable(const char* name) {
  UniqueText value(env_get(name, 1, nullptr));
  return value != nullptr ? value.get() : "";
}

std::string ByForm(const std::string& stored, PathForm form, const std::string& resolved,
                   const char* placeholder, bool stored_beyond_forms) {
  switch (form) {
    case PathForm::kStored:
      return stored;
    case PathForm::kResolved:
      return stored.empty() ? resolved : stored;
    case PathForm::kAtSign:
      return std::string("@") + placeholder + "@";
    case PathForm::kPercent:
      return std::string("%") + placeholder + "%";
    default:
      return stored_beyond_forms ? stored : "";
  }
}

// Connects to the registry of this machine ("local", empty or null) or of
// another one (its name gets the two leading backslashes it lacks); says so
// when it cannot.
long ConnectToMachine(const char* machine, std::unique_ptr<platform::Registry>* hive) {
  std::string name = machine != nullptr ? machine : "";
  if (str_icmp(name.c_str(), "local") == 0) {
    name.clear();
  } else if (!name.empty() && name.rfind("\\\\", 0) != 0) {
    name = "\\\\" + name;
  }
  const long status = platform::Registry::Connect(name, hive);
  if (status != platform::kRegSuccess)
    std::printf("Could not open remote registry %s\n", name.c_str());
  return status;
}

void PrintWindowsVersion(platform::Registry& hive) {
  const char* nt = "Software\\Microsoft\\Windows NT\\CurrentVersion";
  std::unique_ptr<platform::RegistryKey> key;
  if (const long status = hive.OpenKey(nt, platform::kKeyRead, &key);
      status != platform::kRegSuccess) {
    std::printf("Could not open registry key %s\n", nt);
    std::printf("MS err(%ld):%s", status, platform::SystemErrorText(status).c_str());
    return;
  }
  platform::RegValue value;
  for (uint32_t i = 0; key->EnumValue(i, &value) == platform::kRegSuccess; ++i) {
    std::printf(" NT: key= %s, value=%s.\n", value.name.c_str(), value.data.c_str());
  }
}

// The product directory holds the programs, libraries and files alike.
void ReadProductDirectory(platform::Registry& hive) {
  std::unique_ptr<platform::RegistryKey> key;
  if (hive.OpenKey("Software\\Marlox\\Common\\CurrentVersion\\Primary\\Configuration",
                   platform::kKeyRead, &key) != platform::kRegSuccess) {
    return;
  }
  InstallOverrides& overrides = Overrides();
  platform::RegValue value;
  for (uint32_t i = 0; key->EnumValue(i, &value) == platform::kRegSuccess; ++i) {
    std::printf(" Marlox: key= %s, value=%s.\n", value.name.c_str(), value.data.c_str());
    if (str_icmp(value.name.c_str(), "Directory") == 0) {
      overrides.bin = overrides.dll = overrides.etc = value.data;
      overrides.log = value.data + "\\logs";
    }
  }
}

// The management agent's own directories, each where it is set.
void ReadAgentPaths(platform::Registry& hive) {
  std::unique_ptr<platform::RegistryKey> key;
  if (hive.OpenKey("Software\\Marlox\\Helmcrest\\MMA", platform::kKeyRead, &key) !=
      platform::kRegSuccess) {
    return;
  }
  InstallOverrides& overrides = Overrides();
  const struct {
    const char* name;
    std::string* target;
  } paths[] = {{"BinPath", &overrides.bin},
               {"DllPath", &overrides.dll},
               {"EtcPath", &overrides.etc},
               {"LogPath", &overrides.log}};
  platform::RegValue value;
  for (uint32_t i = 0; key->EnumValue(i, &value) == platform::kRegSuccess; ++i) {
    for (const auto& path : paths) {
      if (str_icmp(value.name.c_str(), path.name) != 0) continue;
      *path.target = value.data;
      std::printf(" Marlox: key= %s, value=%s.\n", value.name.c_str(), value.data.c_str());
    }
  }
}

}  // namespace

// With a registry override, each directory setter stores it in the log
// setting and leaves its own setting alone; agents configured from the
// registry have always been set up so.
void DbConfigList::SetEtcDir(const char* variable) {
  const std::string value = Variable(variable);
  if (Overrides().etc.empty()) {
    etc_dir_ = value;
  } else {
    log_dir_ = Overrides().etc;
  }
}

void DbConfigList::SetLogDir(const char* variable) {
  const std::string value = Variable(variable);
  log_dir_ = Overrides().log.empty() ? value : Overrides().log;
}

void DbConfigList::SetBinDir(const char* variable) {
  const std::string value = Variable(variable);
  if (Overrides().bin.empty()) {
    bin_dir_ = value;
  } else {
    log_dir_ = Overrides().bin;
  }
}

void DbConfigList::SetDllDir(const char* variable) {
  const std::string value = Variable(variable);
  if (Overrides().dll.empty()) {
    dll_dir_ = value;
  } else {
    log_dir_ = Overrides().dll;
  }
}

void DbConfigList::SetPortNumber(const char* variable) { port_number_ = Variable(variable); }
void DbConfigList::SetHostName(const char* variable) { host_name_ = Variable(variable); }
void DbConfigList::SetSecondHostName(const char* variable) {
  second_host_name_ = Variable(variable);
}

std::string DbConfigList::GetEtcDir(PathForm form) const {
  const bool resolve = form == PathForm::kResolved && etc_dir_.empty();
  return ByForm(etc_dir_, form, resolve ? platform::CurrentDirectory().substr(0, 260) : "",
                "ETCPATH", true);
}

std::string DbConfigList::GetLogDir(PathForm form) const {
  return ByForm(log_dir_, form, GetEtcDir(PathForm::kStored) + "\\logs", "LOGPATH", true);
}

std::string DbConfigList::GetPortNumber(PathForm form) const {
  return ByForm(port_number_, form, "1999", "PORTNUMBER", false);
}

std::string DbConfigList::GetBinDir(PathForm form) const {
  const bool resolve = form == PathForm::kResolved && bin_dir_.empty();
  return ByForm(bin_dir_, form, resolve ? GetEtcDir(PathForm::kResolved) : "", "BINPATH", false);
}

std::string DbConfigList::GetDllDir(PathForm form) const {
  return ByForm(dll_dir_, form, GetEtcDir(PathForm::kStored), "DLLPATH", false);
}

int DbConfigList::IsNamedInstance(const std::string& homeDir) {
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect("", &hive);
  const char* instances = "Software\\Microsoft\\Microsoft SQL Server\\Instance Names\\SQL";
  uint32_t view = 0;
  if (discovery::openForValues(hive.get(), instances, 0) == nullptr &&
      discovery::openForValues(hive.get(), instances, platform::kKeyWow64_64Key) != nullptr) {
    view = platform::kKeyWow64_64Key;
  }
  std::string default_home;
  const char* setup = "Software\\Microsoft\\MSSQLServer\\Setup";
  if (const auto key = discovery::openForValues(hive.get(), setup, view); key == nullptr) {
    Output(Channel::kLog, "Unable to open key : %s\n", setup);
  } else if (discovery::findValue(*key, "SQLPath", discovery::kDataBuffer, &default_home)) {
    Output(Channel::kLog, "Default home directory : %s\n", default_home.c_str());
  }
  // Windows paths: letter case does not tell two homes apart.
  return str_icmp(default_home.c_str(), homeDir.c_str()) != 0 ? 1 : 0;
}

void DbConfigList::ReadInstallDirs(const char* machine) {
  std::unique_ptr<platform::Registry> hive;
  if (ConnectToMachine(machine, &hive) != platform::kRegSuccess) return;
  // Each key is closed as its reader returns, the hive when this does.
  PrintWindowsVersion(*hive);
  ReadProductDirectory(*hive);
  ReadAgentPaths(*hive);
}

}  // namespace config
