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
using Texts = std::map<std::string, std::string>;
constexpr const char* kInstances = "Software\\Marlox\\VSQ\\610\\";

// Counts the file operations and fails the one numbered `fail_at` (from 1).
struct Faults {
  static inline platform::FileSystemCalls real{};
  static inline int count = 0, fail_at = 0;
  static inline std::vector<std::string> trail;  // each operation and its path, for the reports

  static std::string Path(const std::string& path) { return " " + path; }
  static std::string Path(std::FILE*) { return ""; }
  template <typename First, typename... Rest>
  static bool Fails(const char* what, const First& first, const Rest&...) {
    trail.push_back(what + Path(first));
    return ++count == fail_at;
  }
  static void Install(int failing) {
    count = 0, fail_at = failing;
    trail.clear();
    real = platform::SetFileSystemCallsForTesting(nullptr);
    platform::FileSystemCalls calls = real;
    calls.open = [](auto... a) { return Fails("open", a...) ? EIO : real.open(a...); };
    calls.create = [](auto... a) { return Fails("create", a...) ? ENOSPC : real.create(a...); };
    calls.flush = [](auto... a) { return Fails("flush", a...) ? ENOSPC : real.flush(a...); };
    calls.sync = [](auto... a) { return Fails("sync", a...) ? EIO : real.sync(a...); };
    calls.rename = [](auto... a) { return Fails("rename", a...) ? EACCES : real.rename(a...); };
    calls.remove = [](auto... a) { return Fails("remove", a...) ? EACCES : real.remove(a...); };
    calls.make_directory = [](auto... a) {
      return Fails("mkdir", a...) ? EACCES : real.make_directory(a...);
    };
    calls.lock = [](auto... a) { return Fails("lock", a...) ? EACCES : real.lock(a...); };
    (void)platform::SetFileSystemCallsForTesting(&calls);
  }
  static void Remove() { (void)platform::SetFileSystemCallsForTesting(nullptr); }
};

// What a run can change: the etc directory's files (not the lock file) and
// each registration ("key N1") as text, and whether temporary files are left.
struct HomeState {
  Texts text;
  std::map<std::string, std::vector<platform::RegValue>> keys;
  bool temporary = false;
};

// `texts` with the entries `names` as `from` has them.
Texts With(Texts texts, const Texts& from, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    texts.erase(name);
    if (from.count(name) != 0) texts[name] = from.at(name);
  }
  return texts;
}

class FaultInjectionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* dir : {"ORVAGT6_x64/logs", "InstallORV", "sql/MSSQL/Binn", "sql/MSSQL/Log"}) {
      fs::create_directories(home_ / dir);
    }
    Write(home_ / "sql/MSSQL/Binn/sqlservr.exe", "x");
    Write(home_ / "sql/MSSQL/Log/ERRORLOG", "x");
    Write(etc_ / "vsqmma.ini", "[Local Settings]\nCOLL_TRACE=ERROR\n");
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

  // A put (with the login given) or a remove of the instance.
  int Run(const std::string& name, const char* login = nullptr) {
    const std::string sql = (home_ / "sql" / "MSSQL").string();
    Write(home_ / "stdin.txt", "INSTANCE=" + name + "\n[DBSETTINGS]\ndb_login=" +
                                   (login ? login : "") + "\ndb_password=secret\ndb_home=" + sql +
                                   "\ndb_errorlog=" + sql + "\\Log\\ERRORLOG\n");
    int status = -1;
    Capture([&] {
      if (login == nullptr) {
        status = doRemoveInstance((name + ":HOST1:MSS").c_str());
      } else if (std::freopen((home_ / "stdin.txt").string().c_str(), "rb", stdin) != nullptr) {
        status = doConfigPut((name + ":HOST1:MSS").c_str());
      }
    });
    return status;
  }

  [[nodiscard]] HomeState Read() const {
    HomeState state;
    for (const auto& entry : fs::directory_iterator(etc_)) {
      const std::string name = entry.path().filename().string();
      state.temporary |= platform::IsTemporaryName(name);
      if (entry.is_regular_file() && name != "sq_xa.lock" && !platform::IsTemporaryName(name)) {
        std::ostringstream text;
        text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        state.text[name] = text.str();
      }
    }
    std::unique_ptr<platform::Registry> hive;
    EXPECT_EQ(platform::Registry::Connect("", &hive), platform::kRegSuccess);
    for (const std::string name : {"N1", "N2", "N3"}) {
      std::unique_ptr<platform::RegistryKey> key;
      if (hive->OpenKey(kInstances + name + "\\Environment", platform::kKeyRead, &key) != 0)
        continue;
      platform::RegValue value;
      for (uint32_t i = 0; key->EnumValue(i, &value) == platform::kRegSuccess; ++i) {
        state.keys[name].push_back(value);
        state.text["key " + name] += value.name + "=" + value.data + ";";
      }
    }
    return state;
  }

  void Restore(const HomeState& state) const {
    for (const auto& entry : fs::directory_iterator(etc_)) {
      if (entry.is_regular_file()) fs::remove(entry.path());
    }
    for (const auto& [name, text] : state.text) {
      if (!name.starts_with("key ")) Write(etc_ / name, text);
    }
    std::unique_ptr<platform::Registry> hive;
    ASSERT_EQ(platform::Registry::Connect("", &hive), platform::kRegSuccess);
    for (const std::string name : {"N1", "N2", "N3"}) {
      (void)hive->DeleteKey(kInstances + name + "\\Environment", 0);
      (void)hive->DeleteKey(kInstances + name, 0);
    }
    for (const auto& [name, values] : state.keys) {
      ASSERT_EQ(hive->ReplaceValues(kInstances + name + "\\Environment", values), 0);
    }
  }

  // Runs `operation` from `before` with each of its file operations failing
  // in turn, and checks what each failure leaves. A put whose include file
  // cannot be rewritten leaves the instance's new files in place
  // (`files_may_stay`); a remove that fails puts back all.
  void FailEachStep(const char* what, const HomeState& before,
                    const std::function<int()>& operation, const std::string& name,
                    bool files_may_stay) {
    SCOPED_TRACE(what);
    Restore(before);
    Faults::Install(0);
    ASSERT_EQ(operation(), 0);
    const int steps = Faults::count;
    const std::vector<std::string> trail = Faults::trail;
    Faults::Remove();
    const Texts after = Read().text;
    const std::vector<std::string> pair = {"VSQMMA_" + name + ".ini", "MSMSQL_" + name + ".bat"};
    ASSERT_NE(With(before.text, after, pair), before.text);
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
      const Texts left = Read().text;
      if (status == 0) {
        EXPECT_EQ(left, after);
        continue;
      }
      // Reported: nothing listed or registered that was not, the instance's
      // two files of one run; the test settings may be made anew.
      const bool new_pair = files_may_stay && With(left, after, pair) == left;
      EXPECT_EQ(left, With(With(before.text, left, {"vdbtset.ini"}), new_pair ? after : before.text,
                           pair));
      ++failed_runs;
      ASSERT_EQ(operation(), 0) << "the run after the failure";
      const HomeState healed = Read();
      EXPECT_EQ(healed.text, after);
      EXPECT_FALSE(healed.temporary);
    }
    EXPECT_GT(failed_runs, 0) << "no fault was injected";
  }

  const sqxa_test::ScratchDir scratch_;
  const fs::path home_ = scratch_.path(), etc_ = home_ / "ORVAGT6_x64";
  const sqxa_test::ScopedEnv env_[3] = {{"MARLOX_HOME", home_.string() + platform::PathSeparator()},
                                        {"PORTNUMBER", "1920"},
                                        {"COMPUTERNAME", "HOST1"}};
};

TEST_F(FaultInjectionTest, PutsAndRemovesAreWholeOrNotAtAll) {
  ASSERT_EQ(Run("N1", "sa"), 0);
  ASSERT_EQ(Run("N2", "sa"), 0);
  const HomeState two = Read();
  ASSERT_EQ(two.keys.size(), 2u);
  FailEachStep(
      "a put that changes an instance", two, [&] { return Run("N1", "changed"); }, "N1", true);
  FailEachStep(
      "a put of a new instance", two, [&] { return Run("N3", "sa"); }, "N3", true);
  FailEachStep(
      "a remove", two, [&] { return Run("N1"); }, "N1", false);
}

}  // namespace
}  // namespace driver
