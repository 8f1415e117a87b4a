// The agent-configuration model: a configuration holds instances, an instance
// holds named sections, a section holds ordered "key=value" entries. Names are
// compared exactly. A key may repeat in a section; lookups take its first entry,
// as the profile functions do.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VFW {

class ConfigSection {
 public:
  using Entry = std::pair<std::string, std::string>;

  explicit ConfigSection(std::string name) : name_(std::move(name)) {}

  [[nodiscard]] const std::string& getName() const { return name_; }
  // The value of the first entry named `key`; false when there is none.
  [[nodiscard]] bool readEntry(const std::string& key, std::string* value) const;
  // Appends an entry; an entry of the same name stays before it.
  void writeEntry(const std::string& key, const std::string& value);
  [[nodiscard]] const std::vector<Entry>& getEntries() const { return entries_; }

 private:
  std::string name_;
  std::vector<Entry> entries_;
};

// What instances have in common: named sections in their order.
class ConfigBase {
 public:
  virtual ~ConfigBase() = default;

  // A new empty section; null when the name is taken.
  ConfigSection* addSection(const std::string& name);
  [[nodiscard]] ConfigSection* getSection(const std::string& name);
  [[nodiscard]] const ConfigSection* getSection(const std::string& name) const;
  [[nodiscard]] const std::vector<std::unique_ptr<ConfigSection>>& getSections() const {
    return sections_;
  }

 private:
  std::vector<std::unique_ptr<ConfigSection>> sections_;
  std::unordered_map<std::string, ConfigSection*> by_name_;  // keeps a long stream's parse linear
};

class InstanceConfig : public ConfigBase {
 public:
  explicit InstanceConfig(std::string name) : name_(std::move(name)) {}
  [[nodiscard]] const std::string& getName() const { return name_; }

 private:
  std::string name_;  // "" is the default instance
};

class AgentConfig {
 public:
  // A new empty instance; null when the name is taken.
  InstanceConfig* createInstance(const std::string& name);
  [[nodiscard]] InstanceConfig* getInstance(const std::string& name);
  [[nodiscard]] const InstanceConfig* getInstance(const std::string& name) const;
  // The instances' names in the order they were created.
  [[nodiscard]] std::vector<std::string> getInstanceNames() const;
  [[nodiscard]] const std::vector<std::unique_ptr<InstanceConfig>>& getInstances() const {
    return instances_;
  }

 private:
  std::vector<std::unique_ptr<InstanceConfig>> instances_;
  std::unordered_map<std::string, InstanceConfig*> by_name_;
};

}  // namespace VFW
