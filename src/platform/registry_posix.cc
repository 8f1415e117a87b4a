// The registry on systems without one: the hive is a .reg file (reg_file.h).
//
// Readers share one indexed copy of the file per process, reloaded whenever the
// file's identity, size or times change, so that the writes of another process
// are seen. The copy indexes the file mapped into memory: its pages come from
// the file cache, where reading a large file into fresh memory costs more than
// indexing it. The system's writers never change a file in place (they replace
// it), so a mapped version stays whole for as long as it is mapped. Writers take the file's lock,
// re-read and check it whole, apply their change and replace the file atomically: readers never see
// half a file, and two writers never lose each other's change. What a writer does not change it
// copies from the mapped file.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/file_lock.h"
#include "platform/files.h"
#include "platform/reg_file.h"
#include "platform/registry.h"

namespace platform {
namespace {

constexpr unsigned kLockTimeoutMs = 60 * 1000;

// The file given to UseRegistryFile; "" when none is.
struct RegistryFileSetting {
  std::mutex mutex;
  std::string path;
};

RegistryFileSetting& Setting() {
  static auto* setting = new RegistryFileSetting;  // used until the process ends
  return *setting;
}

std::string RegistryFilePath() {
  RegistryFileSetting& setting = Setting();
  std::lock_guard<std::mutex> guard(setting.mutex);
  return setting.path;
}

// What tells one version of the file from another.
struct FileStamp {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  timespec modified{};
  timespec changed{};

  bool operator==(const FileStamp& other) const {
    return exists == other.exists && device == other.device && inode == other.inode &&
           size == other.size && modified.tv_sec == other.modified.tv_sec &&
           modified.tv_nsec == other.modified.tv_nsec && changed.tv_sec == other.changed.tv_sec &&
           changed.tv_nsec == other.changed.tv_nsec;
  }
};

FileStamp StampOf(const std::string& path) {
  FileStamp stamp;
  struct stat info;
  if (stat(NativePath(path).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return stamp;
  stamp.exists = true;
  stamp.device = info.st_dev;
  stamp.inode = info.st_ino;
  stamp.size = info.st_size;
  stamp.modified = info.st_mtim;
  stamp.changed = info.st_ctim;
  return stamp;
}

// A registry file mapped read-only.
class MappedFile final : public RegFileBytes {
 public:
  // Null when the file cannot be mapped (errno tells why); an empty file maps
  // to no bytes.
  static std::unique_ptr<MappedFile> Map(const std::string& path) {
    const int fd = open(NativePath(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat info;
    void* address = nullptr;
    size_t size = 0;
    if (fstat(fd, &info) == 0 && info.st_size > 0) {
      size = static_cast<size_t>(info.st_size);
      address = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
    }
    const int error = errno;
    close(fd);
    if (address == MAP_FAILED) {
      errno = error;
      return nullptr;
    }
    return std::unique_ptr<MappedFile>(new MappedFile(address, address != nullptr ? size : 0));
  }

  ~MappedFile() override {
    if (address_ != nullptr) munmap(address_, size_);
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view bytes() const override { return {static_cast<const char*>(address_), size_}; }

 private:
  MappedFile(void* address, size_t size) : address_(address), size_(size) {}

  void* address_;
  size_t size_;
};

// The process-wide indexed copy of the registry file.
class HiveCache {
 public:
  // The hive in `path` as it is now; an empty hive when the file is missing,
  // unreadable or malformed (reported once per version of the file).
  std::shared_ptr<const RegFile> Get(const std::string& path) {
    if (path.empty()) return Empty();
    const FileStamp stamp = StampOf(path);
    std::lock_guard<std::mutex> guard(mutex_);
    if (hive_ != nullptr && path == path_ && stamp == stamp_) return hive_;
    auto hive = std::make_shared<RegFile>();
    if (stamp.exists) {
      std::unique_ptr<MappedFile> mapped = MappedFile::Map(path);
      const int status = errno;
      RegFileError error;
      if (mapped == nullptr) {
        if (status != ENOENT) {  // not replaced meanwhile: the file cannot be read
          std::fprintf(stderr, "registry file '%s': %s\n", path.c_str(), std::strerror(status));
        }
      } else if (!hive->Load(std::move(mapped), &error)) {
        std::fprintf(stderr, "registry file '%s' line %llu: %s\n", path.c_str(),
                     static_cast<unsigned long long>(error.line), error.message.c_str());
      }
    }
    path_ = path;
    stamp_ = stamp;
    hive_ = std::move(hive);
    return hive_;
  }

  // Drops the copy; the next reader loads the file again.
  void Forget() {
    std::lock_guard<std::mutex> guard(mutex_);
    hive_.reset();
  }

 private:
  static std::shared_ptr<const RegFile> Empty() {
    static const auto* empty = new std::shared_ptr<const RegFile>(std::make_shared<RegFile>());
    return *empty;
  }

  std::mutex mutex_;
  std::string path_;
  FileStamp stamp_;
  std::shared_ptr<const RegFile> hive_;
};

HiveCache& Cache() {
  static auto* cache = new HiveCache;  // used until the process ends
  return *cache;
}

// Applies `change(RegTree*, bool* changed)` to the registry file under its lock
// and writes the file back when the change says it changed something.
template <typename Change>
long ModifyHive(const std::string& path, Change change) {
  RegTree tree;
  bool changed = false;
  if (path.empty()) {  // no registry file configured: an empty hive nobody can write
    const long status = change(&tree, &changed);
    return status == kRegSuccess && changed ? kRegCannotWrite : status;
  }
  std::unique_ptr<FileLock> lock;
  if (FileLock::Acquire(path + ".lock", kLockTimeoutMs, &lock) != 0) return kRegCannotWrite;
  // A writer that died may have left a copy of the file, passwords and all.
  RemoveStaleTemporariesOf(path);
  std::unique_ptr<MappedFile> mapped = MappedFile::Map(path);
  if (mapped == nullptr && errno != ENOENT) return kRegCannotWrite;
  if (mapped != nullptr) {
    auto file = std::make_shared<RegFile>();
    RegFileError error;
    if (!file->Load(std::move(mapped), &error)) return kRegBadDatabase;  // never rewritten
    tree = RegTree(std::move(file));  // reads only the keys the change looks at
  }
  const long status = change(&tree, &changed);
  if (status != kRegSuccess || !changed) return status;
  const int written = ReplaceFileContents(path, tree.Serialize());
  Cache().Forget();
  return written == 0 ? kRegSuccess : kRegCannotWrite;
}

bool CanStore(const std::string& name, uint32_t type, const std::string& data) {
  std::string stored;
  return name.find('\n') == std::string::npos && RegStoredFromText(type, data, &stored);
}

// An open key. Like a key of the Windows registry it shows the hive as it is
// now: changes made through other keys or by other processes are seen, since
// its values and subkeys are read again when the file has changed. The file
// is looked at when a query or an enumeration (index 0) starts; the later
// indexes of an enumeration continue the same reading, so enumerating a key
// of n values costs one look at the file rather than n.
class FileKey final : public RegistryKey {
 public:
  FileKey(std::string file, std::string path, uint32_t access, std::shared_ptr<const RegFile> seen,
          std::vector<RegValue> values, std::vector<std::string> subkeys)
      : file_(std::move(file)),
        path_(std::move(path)),
        access_(access),
        seen_(std::move(seen)),
        values_(std::move(values)),
        subkeys_(std::move(subkeys)) {}

  long EnumValue(uint32_t index, RegValue* value) override {
    if ((access_ & kKeyQueryValue) == 0) return kRegAccessDenied;
    if (index == 0) Refresh();
    if (index >= values_.size()) return kRegNoMoreItems;
    *value = values_[index];
    return kRegSuccess;
  }

  long EnumSubKey(uint32_t index, std::string* name) override {
    if ((access_ & kKeyEnumerateSubKeys) == 0) return kRegAccessDenied;
    if (index == 0) Refresh();
    if (index >= subkeys_.size()) return kRegNoMoreItems;
    *name = subkeys_[index];
    return kRegSuccess;
  }

  long QueryValue(const std::string& name, RegValue* value) override {
    if ((access_ & kKeyQueryValue) == 0) return kRegAccessDenied;
    Refresh();
    for (const RegValue& candidate : values_) {
      if (RegNamesEqual(candidate.name, name)) {
        *value = candidate;
        return kRegSuccess;
      }
    }
    return kRegFileNotFound;
  }

  long SetValue(const std::string& name, uint32_t type, const std::string& data) override {
    if ((access_ & kKeySetValue) == 0) return kRegAccessDenied;
    if (!CanStore(name, type, data)) return kRegInvalidParameter;
    return Modify([&](RegTree* tree, RegTree::KeyId key, bool* changed) {
      if (!tree->SetValue(key, RegValue{name, type, data})) return kRegInvalidParameter;
      *changed = true;
      return kRegSuccess;
    });
  }

  long DeleteValue(const std::string& name) override {
    if ((access_ & kKeySetValue) == 0) return kRegAccessDenied;
    return Modify([&](RegTree* tree, RegTree::KeyId key, bool* changed) {
      if (!tree->DeleteValue(key, name)) return kRegFileNotFound;
      *changed = true;
      return kRegSuccess;
    });
  }

 private:
  // Reads the key again when the file is not the one last seen. A key deleted
  // meanwhile shows no values and no subkeys.
  void Refresh() {
    const std::shared_ptr<const RegFile> hive = Cache().Get(file_);
    if (hive == seen_) return;
    seen_ = hive;
    values_.clear();
    subkeys_.clear();
    RegFile::KeyId id = RegFile::kRoot;
    if (!hive->FindKey(path_, &id)) return;
    values_ = hive->Values(id);
    for (RegFile::KeyId child : hive->SubKeys(id)) subkeys_.emplace_back(hive->KeyName(child));
  }

  template <typename Change>
  long Modify(Change change) {
    return ModifyHive(file_, [&](RegTree* tree, bool* changed) {
      RegTree::KeyId key = RegTree::kRoot;
      if (!tree->FindKey(path_, &key)) return kRegFileNotFound;  // deleted meanwhile
      const long status = change(tree, key, changed);
      values_ = tree->Values(key);
      subkeys_ = tree->SubKeyNames(key);
      return status;
    });
  }

  const std::string file_;
  const std::string path_;
  const uint32_t access_;
  std::shared_ptr<const RegFile> seen_;  // the file the values and subkeys are from
  std::vector<RegValue> values_;
  std::vector<std::string> subkeys_;
};

class FileRegistry final : public Registry {
 public:
  explicit FileRegistry(std::string file) : file_(std::move(file)) {}

  long OpenKey(const std::string& path, uint32_t access,
               std::unique_ptr<RegistryKey>* key) override {
    const std::shared_ptr<const RegFile> hive = Cache().Get(file_);
    RegFile::KeyId id = RegFile::kRoot;
    if (!hive->FindKey(path, &id)) return kRegFileNotFound;
    std::vector<std::string> subkeys;
    for (RegFile::KeyId child : hive->SubKeys(id)) subkeys.emplace_back(hive->KeyName(child));
    *key =
        std::make_unique<FileKey>(file_, path, access, hive, hive->Values(id), std::move(subkeys));
    return kRegSuccess;
  }

  long CreateKey(const std::string& path, uint32_t access,
                 std::unique_ptr<RegistryKey>* key) override {
    std::vector<RegValue> values;
    std::vector<std::string> subkeys;
    const long status = ModifyHive(file_, [&](RegTree* tree, bool* changed) {
      RegTree::KeyId id = RegTree::kRoot;
      if (!tree->CreateKey(path, &id, changed)) return kRegInvalidParameter;
      values = tree->Values(id);
      subkeys = tree->SubKeyNames(id);
      return kRegSuccess;
    });
    if (status != kRegSuccess) return status;
    *key = std::make_unique<FileKey>(file_, path, access, nullptr, std::move(values),
                                     std::move(subkeys));
    return kRegSuccess;
  }

  long DeleteKey(const std::string& path, uint32_t /*access: one view*/) override {
    return Delete(path, false);
  }

  long DeleteTree(const std::string& path) override { return Delete(path, true); }

  long ReplaceValues(const std::string& path, const std::vector<RegValue>& values) override {
    for (const RegValue& value : values) {
      if (!CanStore(value.name, value.type, value.data)) return kRegInvalidParameter;
    }
    return ModifyHive(file_, [&](RegTree* tree, bool* changed) {
      RegTree::KeyId id = RegTree::kRoot;
      if (!tree->CreateKey(path, &id, changed)) return kRegInvalidParameter;
      if (id == RegTree::kRoot) return kRegInvalidParameter;
      tree->ClearValues(id);
      for (const RegValue& value : values) {
        if (!tree->SetValue(id, value)) return kRegInvalidParameter;
      }
      *changed = true;
      return kRegSuccess;
    });
  }

 private:
  // Deletes the key at `path`, with its subkeys when `subtree` (else a key
  // that has some is refused); never the root.
  long Delete(const std::string& path, bool subtree) {
    return ModifyHive(file_, [&](RegTree* tree, bool* changed) {
      RegTree::KeyId id = RegTree::kRoot;
      if (!tree->FindKey(path, &id)) return kRegFileNotFound;
      if (id == RegTree::kRoot || (!subtree && tree->HasSubKeys(id))) return kRegAccessDenied;
      tree->DeleteKey(id);
      *changed = true;
      return kRegSuccess;
    });
  }

  const std::string file_;
};

}  // namespace

void UseRegistryFile(std::string path) {
  RegistryFileSetting& setting = Setting();
  std::lock_guard<std::mutex> guard(setting.mutex);
  setting.path = std::move(path);
}

long Registry::Connect(const std::string& machine, std::unique_ptr<Registry>* hive) {
  if (!machine.empty()) return kRegBadNetPath;  // no remote registry here
  *hive = std::make_unique<FileRegistry>(RegistryFilePath());
  return kRegSuccess;
}

}  // namespace platform
