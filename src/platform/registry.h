// The registry seam: the HKEY_LOCAL_MACHINE hive of a machine.
//
// On Windows the backend calls the registry API. Elsewhere the hive is a text
// file in the Registry Editor export format (see reg_file.h), which the program
// names with UseRegistryFile. A missing file is an empty registry.
//
// Every call answers a Win32 status number, so that traces show the numbers a
// Windows run would show. Values are handed over as text: REG_SZ and
// REG_EXPAND_SZ as stored without their final zero, REG_DWORD and REG_QWORD as
// decimal text, REG_MULTI_SZ as its strings each ended by a zero byte, any other
// type as its raw bytes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace platform {

// Status numbers (the Win32 error codes of the same meaning).
inline constexpr long kRegSuccess = 0;            // ERROR_SUCCESS
inline constexpr long kRegFileNotFound = 2;       // ERROR_FILE_NOT_FOUND
inline constexpr long kRegAccessDenied = 5;       // ERROR_ACCESS_DENIED (also: key has subkeys)
inline constexpr long kRegBadNetPath = 53;        // ERROR_BAD_NETPATH
inline constexpr long kRegInvalidParameter = 87;  // ERROR_INVALID_PARAMETER
inline constexpr long kRegMoreData = 234;         // ERROR_MORE_DATA
inline constexpr long kRegNoMoreItems = 259;      // ERROR_NO_MORE_ITEMS
inline constexpr long kRegBadDatabase = 1009;     // ERROR_BADDB: the registry file is malformed
inline constexpr long kRegCannotWrite = 1013;     // ERROR_CANTWRITE

// Access options, with the values of the Win32 constants.
inline constexpr uint32_t kKeyQueryValue = 0x0001;
inline constexpr uint32_t kKeySetValue = 0x0002;
inline constexpr uint32_t kKeyCreateSubKey = 0x0004;
inline constexpr uint32_t kKeyEnumerateSubKeys = 0x0008;
inline constexpr uint32_t kKeyWow64_64Key = 0x0100;
inline constexpr uint32_t kKeyWow64_32Key = 0x0200;
inline constexpr uint32_t kKeyRead = 0x20019;
inline constexpr uint32_t kKeyWrite = 0x20006;
inline constexpr uint32_t kKeyAllAccess = 0xF003F;

// Value types.
inline constexpr uint32_t kRegNone = 0;
inline constexpr uint32_t kRegSz = 1;
inline constexpr uint32_t kRegExpandSz = 2;
inline constexpr uint32_t kRegBinary = 3;
inline constexpr uint32_t kRegDword = 4;
inline constexpr uint32_t kRegMultiSz = 7;
inline constexpr uint32_t kRegQword = 11;

struct RegValue {
  std::string name;  // "" is the key's default value
  uint32_t type = kRegNone;
  std::string data;  // as described at the top of this file
};

// Where the hive is a file: the file for the Connects that follow. Until one is
// given, or after "", the hive is empty and nothing can be written to it. The
// Windows backend ignores it: it uses the machine's registry.
void UseRegistryFile(std::string path);

// An open key. Destroying it closes it.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;

  // The value at `index` in enumeration order; kRegNoMoreItems past the last.
  [[nodiscard]] virtual long EnumValue(uint32_t index, RegValue* value) = 0;
  // The name of the subkey at `index`; kRegNoMoreItems past the last.
  [[nodiscard]] virtual long EnumSubKey(uint32_t index, std::string* name) = 0;
  // The value named `name` (without regard to case); kRegFileNotFound if absent.
  [[nodiscard]] virtual long QueryValue(const std::string& name, RegValue* value) = 0;
  // Creates or replaces a value. `data` is in the text form described above.
  [[nodiscard]] virtual long SetValue(const std::string& name, uint32_t type,
                                      const std::string& data) = 0;
  [[nodiscard]] virtual long DeleteValue(const std::string& name) = 0;
};

// The HKEY_LOCAL_MACHINE hive of one machine. Key paths are relative to it,
// separated by backslashes, and compared without regard to case.
class Registry {
 public:
  virtual ~Registry() = default;

  // The hive of `machine`: "" is this machine; any other name is a remote
  // machine (RegConnectRegistry on Windows; kRegBadNetPath elsewhere).
  [[nodiscard]] static long Connect(const std::string& machine, std::unique_ptr<Registry>* hive);

  [[nodiscard]] virtual long OpenKey(const std::string& path, uint32_t access,
                                     std::unique_ptr<RegistryKey>* key) = 0;
  // Opens the key, creating it and any missing parents.
  [[nodiscard]] virtual long CreateKey(const std::string& path, uint32_t access,
                                       std::unique_ptr<RegistryKey>* key) = 0;
  // Deletes a key that has no subkeys (kRegAccessDenied when it has some).
  [[nodiscard]] virtual long DeleteKey(const std::string& path, uint32_t access) = 0;
  // Deletes a key with its values and every key below it (RegDeleteTree on
  // Windows; one rewrite of the file for the file-backed hive).
  [[nodiscard]] virtual long DeleteTree(const std::string& path) = 0;
  // Makes `values` the whole set of values of the key at `path`, in their
  // order (a later value of the same name replaces an earlier one), creating
  // the key and any missing parents; its subkeys stay. The file-backed hive
  // does it in one rewrite of the file, so readers see the old values or the
  // new ones; the Windows registry takes the values one by one.
  [[nodiscard]] virtual long ReplaceValues(const std::string& path,
                                           const std::vector<RegValue>& values) = 0;
};

}  // namespace platform
