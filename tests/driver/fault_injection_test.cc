// Every file operation of a put and of a remove is made to fail in turn, as a
// full disk, a refused rename or an unreadable file would: whatever fails, the
// run reports it, the home is left in its old state or its new one (never an
// .ini file beside the .bat file of another run, never an instance listed but
// unregistered by a failed run), and the next run succeeds.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "common/host_registry.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "driver/operations.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/server_kind.h"

namespace driver {
namespace {

namespace fs = std::filesystem;

constexpr const char* kInstances = "Software\\Marlox\\VSQ\\610\\";
const char* const kNames[] = {"N1", "N2", "N3"};

// Counts the file operations and fails the one numbered `fail_at` (from 1).
struct Faults {
  static inline platform::FileSystemCalls real{};
  static inline int count = 0;
  static inline int fail_at = 0;
  static inline std::vector<std::string> trail;  // each operation, for the reports

  static std::string Describe(const std::string& path) { return " " + path; }
  template <typename T>
  static std::string Describe(const T&) {
    return "";
  }

  // The real call `Field`, counted, answering `kError` when its turn comes.
  template <auto Field, int kError, typename Signature>
  struct Counted;
  template <auto Field, int kError, typename... Args>
  struct Counted<Field, kError, int (*)(Args...)> {
    static inline const char* name = "";
    static int Call(Args... args) {
      trail.push_back((std::string(name) + ... + Describe(args)));
      return ++count == fail_at ? kError : (real.*Field)(args...);
    }
  };
  template <auto Field, int kError>
  static void Replace(platform::FileSystemCalls* calls, const char* name) {
    using Call = Counted<Field, kError, std::remove_reference_t<decltype(calls->*Field)>>;
    Call::name = name;
    calls->*Field = &Call::Call;
  }

  static void Install(int failing) {
    count = 0;
    fail_at = failing;
    trail.clear();
    real = platform::SetFileSystemCallsForTesting(nullptr);
    platform::FileSystemCalls calls = real;
    using Calls = platform::FileSystemCalls;
    Replace<&Calls::open, EIO>(&calls, "open");
    Replace<&Calls::create, ENOSPC>(&calls, "create");
    Replace<&Calls::flush, ENOSPC>(&calls, "flush");
    Replace<&Calls::sync, EIO>(&calls, "sync");
    Replace<&Calls::rename, EACCES>(&calls, "rename");
    Replace<&Calls::remove, EACCES>(&calls, "remove");
    Replace<&Calls::make_directory, EACCES>(&calls, "mkdir");
    Replace<&Calls::lock, EACCES>(&calls, "lock");
    (void)platform::SetFileSystemCallsForTesting(&calls);
  }
  static void Remove() { (void)platform::SetFileSystemCallsForTesting(nullptr); }
};

// What a run can change: the files of the etc directory (not its logs, not
// the lock file, not temporary files, which the next run removes) and each
// instance's registration.
struct HomeState {
  std::map<std::string, std::string> files;
  std::map<std::string, std::vector<platform::RegValue>> keys;

  [[nodiscard]] std::string Key(const std::string& name) const {
    const auto found = keys.find(name);
    if (found == keys.end()) return "(none)";
    std::string text;
    for (const auto& value : found->second) text += value.name + "=" + value.data + ";";
    return text;
  }
  [[nodiscard]] std::string File(const std::string& name) const {
    const auto found = files.find(name);
    return found == files.end() ? "(none)" : found->second;
  }
};

class FaultInjectionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* dir : {"ORVAGT6_x64/logs", "InstallORV", "sql/MSSQL/Binn", "sql/MSSQL/Log"}) {
      fs::create_directories(home_ / dir);
    }
    Write(home_ / "sql/MSSQL/Binn/sqlservr.exe", "x");
    Write(home_ / "sql/MSSQL/Log/ERRORLOG", "x");
    Write(Etc() / "vsqmma.ini", "[Local Settings]\nCOLL_TRACE=ERROR\n");
    const fs::path tool = fs::path(SQXA_COMPANION_TOOL);
    fs::copy_file(tool, home_ / "InstallORV" / tool.filename());
    ASSERT_TRUE(sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"));
    support::SetServerKind(support::ServerKind::kSqlServer);
  }
  void TearDown() override {
    Faults::Remove();
    ASSERT_TRUE(sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"));
  }

  static void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }
  [[nodiscard]] fs::path Etc() const { return home_ / "ORVAGT6_x64"; }

  [[nodiscard]] std::string Stream(const std::string& name, const std::string& login) const {
    const std::string sql = (home_ / "sql" / "MSSQL").string();
    return "INSTANCE=" + name + "\n[DBSETTINGS]\ndb_login=" + login +
           "\ndb_password=secret\ndb_home=" + sql + "\ndb_errorlog=" + sql + "\\Log\\ERRORLOG\n";
  }

  int Put(const std::string& name, const std::string& login) {
    const fs::path input = home_ / "stdin.txt";
    Write(input, Stream(name, login));
    int status = -1;
    Capture([&] {
      if (std::freopen(input.string().c_str(), "rb", stdin) != nullptr) {
        status = doConfigPut((name + ":HOST1:MSS").c_str());
      }
    });
    return status;
  }
  int Remove(const std::string& name) {
    int status = -1;
    Capture([&] { status = doRemoveInstance((name + ":HOST1:MSS").c_str()); });
    return status;
  }

  [[nodiscard]] HomeState Read() const {
    HomeState state;
    for (const auto& entry : fs::directory_iterator(Etc())) {
      const std::string name = entry.path().filename().string();
      if (!entry.is_regular_file() || name == "sq_xa.lock" || platform::IsTemporaryName(name)) {
        continue;
      }
      std::ostringstream text;
      text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      state.files[name] = text.str();
    }
    std::unique_ptr<platform::Registry> hive;
    EXPECT_EQ(platform::Registry::Connect("", &hive), platform::kRegSuccess);
    for (const char* name : kNames) {
      std::unique_ptr<platform::RegistryKey> key;
      if (hive->OpenKey(kInstances + std::string(name) + "\\Environment", platform::kKeyRead,
                        &key) != platform::kRegSuccess) {
        continue;
      }
      auto& values = state.keys[name];
      platform::RegValue value;
      for (uint32_t i = 0; key->EnumValue(i, &value) == platform::kRegSuccess; ++i) {
        values.push_back(value);
      }
    }
    return state;
  }

  void Restore(const HomeState& state) const {
    for (const auto& entry : fs::directory_iterator(Etc())) {
      if (entry.is_regular_file()) fs::remove(entry.path());
    }
    for (const auto& [name, text] : state.files) Write(Etc() / name, text);
    std::unique_ptr<platform::Registry> hive;
    ASSERT_EQ(platform::Registry::Connect("", &hive), platform::kRegSuccess);
    for (const char* name : kNames) {
      const std::string key = kInstances + std::string(name);
      (void)hive->DeleteKey(key + "\\Environment", 0);
      (void)hive->DeleteKey(key, 0);
    }
    for (const auto& [name, values] : state.keys) {
      ASSERT_EQ(hive->ReplaceValues(kInstances + name + "\\Environment", values),
                platform::kRegSuccess);
    }
  }

  [[nodiscard]] bool NoTemporaryFiles() const {
    for (const auto& entry : fs::directory_iterator(Etc())) {
      if (platform::IsTemporaryName(entry.path().filename().string())) return false;
    }
    return true;
  }

  // Runs `operation` from `before` with each of its file operations failing
  // in turn, and checks what each failure leaves.
  // A put whose include file cannot be rewritten leaves the instance's new
  // files in place (`files_may_stay`); a remove that fails puts back all.
  void FailEachStep(const HomeState& before, const std::function<int()>& operation,
                    const std::string& name, bool files_may_stay) {
    Restore(before);
    Faults::Install(0);
    ASSERT_EQ(operation(), 0);
    const int steps = Faults::count;
    const std::vector<std::string> trail = Faults::trail;
    Faults::Remove();
    const HomeState after = Read();
    const std::string ini = "VSQMMA_" + name + ".ini", bat = "MSMSQL_" + name + ".bat";
    ASSERT_NE(before.File(ini), after.File(ini));
    ASSERT_GT(steps, 10);

    int failed_runs = 0;
    for (int step = 1; step <= steps; ++step) {
      // The server's own files are looked at, not written: that one cannot
      // be read is a verdict on the settings, which the validation gives.
      if (trail[step - 1].find((home_ / "sql").string()) != std::string::npos) continue;
      SCOPED_TRACE("file operation " + std::to_string(step) + " of " + std::to_string(steps) +
                   ": " + trail[step - 1]);
      Restore(before);
      Faults::Install(step);
      const int status = operation();
      Faults::Remove();
      const HomeState left = Read();
      if (status == 0) {
        EXPECT_EQ(left.files, after.files);
        EXPECT_EQ(left.Key(name), after.Key(name));
      } else {
        // Reported: nothing is listed or registered that was not, and the
        // instance's two files belong to one run.
        EXPECT_EQ(left.File("vsqinc.ini"), before.File("vsqinc.ini"));
        EXPECT_EQ(left.Key(name), before.Key(name));
        const bool old_pair =
            left.File(ini) == before.File(ini) && left.File(bat) == before.File(bat);
        const bool new_pair =
            left.File(ini) == after.File(ini) && left.File(bat) == after.File(bat);
        EXPECT_TRUE(old_pair || (files_may_stay && new_pair));
        for (const auto& [file, text] : before.files) {
          if (file != ini && file != bat && file != "vdbtset.ini") {
            EXPECT_EQ(left.File(file), text) << file;
          }
        }
      }
      if (status == 0) continue;
      ++failed_runs;
      ASSERT_EQ(operation(), 0) << "the run after the failure";
      const HomeState healed = Read();
      EXPECT_EQ(healed.files, after.files);
      EXPECT_EQ(healed.Key(name), after.Key(name));
      EXPECT_TRUE(NoTemporaryFiles());
    }
    EXPECT_GT(failed_runs, 0) << "no fault was injected";
  }

  const sqxa_test::ScratchDir scratch_;
  const fs::path home_ = scratch_.path();
  const sqxa_test::ScopedEnv env_[3] = {{"MARLOX_HOME", home_.string() + platform::PathSeparator()},
                                        {"PORTNUMBER", "1920"},
                                        {"COMPUTERNAME", "HOST1"}};
};

TEST_F(FaultInjectionTest, PutsAndRemovesAreWholeOrNotAtAll) {
  ASSERT_EQ(Put("N1", "sa"), 0);
  ASSERT_EQ(Put("N2", "sa"), 0);
  const HomeState two = Read();
  ASSERT_EQ(two.keys.size(), 2u);

  {
    SCOPED_TRACE("a put that changes an instance");
    FailEachStep(
        two, [&] { return Put("N1", "changed"); }, "N1", true);
  }
  {
    SCOPED_TRACE("a put of a new instance");
    FailEachStep(
        two, [&] { return Put("N3", "sa"); }, "N3", true);
  }
  {
    SCOPED_TRACE("a remove");
    FailEachStep(
        two, [&] { return Remove("N1"); }, "N1", false);
  }
}

}  // namespace
}  // namespace driver
