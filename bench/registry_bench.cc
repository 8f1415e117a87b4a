// Opening one key of a registry file the size of an exported SOFTWARE hive
// (about 50 MB): the file is indexed in one pass and only the opened key's
// values are parsed.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "platform/reg_file.h"
#include "platform/registry.h"

namespace {

constexpr size_t kTargetBytes = 50u << 20;

std::string HexList(const std::string& prefix, size_t bytes, unsigned seed) {
  std::string line = prefix;
  size_t column = line.size();
  char byte[4];
  for (size_t i = 0; i < bytes; ++i) {
    std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned>((seed + i * 7) & 0xFF));
    line += byte;
    column += 2;
    if (i + 1 == bytes) break;
    line += ',';
    if (++column >= 76) {
      line += "\\\r\n  ";
      column = 2;
    }
  }
  return line + "\r\n";
}

std::string Utf16Hex(const std::string& prefix, const std::string& text) {
  std::string bytes;
  for (char c : text) bytes += std::string{c, '\0'};
  bytes += std::string(2, '\0');
  std::string line = prefix;
  char byte[4];
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned char>(bytes[i]));
    line += byte;
    if (i + 1 < bytes.size()) line += (i % 24 == 23) ? ",\\\r\n  " : ",";
  }
  return line + "\r\n";
}

// A hive shaped like an export of HKLM\SOFTWARE: vendors, products, versions
// and component keys, with strings, numbers, binary data and text lists.
std::string GenerateHive(std::string* deep_key) {
  std::string out = "Windows Registry Editor Version 5.00\r\n\r\n";
  out.reserve(kTargetBytes + (1 << 20));
  char path[256];
  for (unsigned vendor = 0; out.size() < kTargetBytes; ++vendor) {
    std::snprintf(path, sizeof path, "SOFTWARE\\Vendor%04u", vendor);
    out += "[HKEY_LOCAL_MACHINE\\" + std::string(path) + "]\r\n\"Name\"=\"Vendor number " +
           std::to_string(vendor) + "\"\r\n\r\n";
    for (unsigned product = 0; product < 12; ++product) {
      std::snprintf(path, sizeof path, "SOFTWARE\\Vendor%04u\\Product%02u", vendor, product);
      const std::string product_path = path;
      out += "[HKEY_LOCAL_MACHINE\\" + product_path + "]\r\n";
      out += "\"InstallDir\"=\"C:\\\\Program Files\\\\Vendor" + std::to_string(vendor) +
             "\\\\Product" + std::to_string(product) + "\"\r\n";
      out += "\"Installed\"=dword:00000001\r\n";
      out += HexList("\"Signature\"=hex:", 96, vendor + product);
      out += Utf16Hex("\"Path\"=hex(2):", "%ProgramFiles%\\Vendor\\bin;%SystemRoot%\\system32");
      out += Utf16Hex("\"Languages\"=hex(7):", "en-US");
      out += "\"Version\"=\"" + std::to_string(product) + ".0." + std::to_string(vendor) +
             "\"\r\n\r\n";
      for (unsigned component = 0; component < 16; ++component) {
        std::snprintf(path, sizeof path, "%s\\Components\\{%08X-0000-4000-8000-%012u}",
                      product_path.c_str(), vendor * 1000 + product * 16 + component, component);
        out += "[HKEY_LOCAL_MACHINE\\" + std::string(path) + "]\r\n";
        out += "@=\"component " + std::to_string(component) + "\"\r\n";
        out += "\"Size\"=hex(b):00,10,00,00,00,00,00,00\r\n";
        out += "\"Shared\"=dword:0000000" + std::to_string(component % 10) + "\r\n\r\n";
        *deep_key = path;  // the last component of the file
      }
    }
  }
  return out;
}

struct Hive {
  std::string file;
  std::string deep_key;  // a component key near the end of the file
  std::string product;   // its product key, with 1 subkey and 6 values
  std::string bytes;
  timespec stamp{};

  Hive() {
    bytes = GenerateHive(&deep_key);
    product = deep_key.substr(0, deep_key.find("\\Components"));
    file = (std::filesystem::temp_directory_path() /
            ("sqxa-registry-bench-" + std::to_string(getpid()) + ".reg"))
               .string();
    std::ofstream(file, std::ios::binary) << bytes;
    platform::UseRegistryFile(file);
    stamp.tv_sec = 1000000000;
  }
  ~Hive() { std::remove(file.c_str()); }

  // Gives the file a new modification time, so that the next open reloads it.
  void Touch() {
    ++stamp.tv_sec;
    const timespec times[2] = {stamp, stamp};
    if (utimensat(AT_FDCWD, file.c_str(), times, 0) != 0) std::abort();
  }
};

Hive& TheHive() {
  static Hive hive;
  return hive;
}

void OpenAndEnumerate(const std::string& path, benchmark::State& state) {
  std::unique_ptr<platform::Registry> registry;
  std::unique_ptr<platform::RegistryKey> key;
  if (platform::Registry::Connect("", &registry) != platform::kRegSuccess ||
      registry->OpenKey(path, platform::kKeyRead, &key) != platform::kRegSuccess) {
    state.SkipWithError("cannot open the key");
    return;
  }
  platform::RegValue value;
  std::string name;
  uint32_t values = 0;
  uint32_t subkeys = 0;
  while (key->EnumValue(values, &value) == platform::kRegSuccess) ++values;
  while (key->EnumSubKey(subkeys, &name) == platform::kRegSuccess) ++subkeys;
  benchmark::DoNotOptimize(values + subkeys);
}

// Cold: the file changed since the last open, so it is read and indexed again.
void BM_ColdOpenDeepKey(benchmark::State& state) {
  Hive& hive = TheHive();
  for (auto _ : state) {
    state.PauseTiming();
    hive.Touch();
    state.ResumeTiming();
    OpenAndEnumerate(hive.product, state);
    OpenAndEnumerate(hive.deep_key, state);
  }
  state.counters["file_MB"] = static_cast<double>(hive.bytes.size()) / (1 << 20);
}
BENCHMARK(BM_ColdOpenDeepKey)->Unit(benchmark::kMillisecond)->UseRealTime();

// The keys reached from the root.
size_t CountKeys(const platform::RegFile& file) {
  size_t keys = 0;
  std::vector<platform::RegFile::KeyId> pending{platform::RegFile::kRoot};
  while (!pending.empty()) {
    const platform::RegFile::KeyId key = pending.back();
    pending.pop_back();
    for (const platform::RegFile::KeyId child : file.SubKeys(key)) pending.push_back(child);
    ++keys;
  }
  return keys;
}

// The index pass from bytes in memory (range 0), then every key reached (1).
void BM_IndexAndEnumerate(benchmark::State& state) {
  Hive& hive = TheHive();
  for (auto _ : state) {
    state.PauseTiming();
    std::string bytes = hive.bytes;
    platform::RegFile file;
    platform::RegFileError error;
    state.ResumeTiming();
    if (!file.Load(std::move(bytes), &error)) state.SkipWithError(error.message.c_str());
    if (state.range(0) == 1) state.counters["keys"] = static_cast<double>(CountKeys(file));
  }
}
BENCHMARK(BM_IndexAndEnumerate)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// Warm: the file is unchanged, the process's indexed copy answers.
void BM_WarmOpenDeepKey(benchmark::State& state) {
  Hive& hive = TheHive();
  for (auto _ : state) OpenAndEnumerate(hive.deep_key, state);
}
BENCHMARK(BM_WarmOpenDeepKey)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
