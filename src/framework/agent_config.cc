#include "framework/agent_config.h"

namespace VFW {

namespace {

template <typename Item>
Item* FindNamed(const std::unordered_map<std::string, Item*>& index, const std::string& name) {
  const auto found = index.find(name);
  return found == index.end() ? nullptr : found->second;
}

}  // namespace

bool ConfigSection::readEntry(const std::string& key, std::string* value) const {
  for (const Entry& entry : entries_) {
    if (entry.first == key) {
      *value = entry.second;
      return true;
    }
  }
  return false;
}

void ConfigSection::writeEntry(const std::string& key, const std::string& value) {
  entries_.emplace_back(key, value);
}

ConfigSection* ConfigBase::addSection(const std::string& name) {
  if (by_name_.count(name) != 0) return nullptr;
  ConfigSection* section = sections_.emplace_back(std::make_unique<ConfigSection>(name)).get();
  by_name_.emplace(name, section);
  return section;
}

ConfigSection* ConfigBase::getSection(const std::string& name) { return FindNamed(by_name_, name); }

const ConfigSection* ConfigBase::getSection(const std::string& name) const {
  return FindNamed(by_name_, name);
}

InstanceConfig* AgentConfig::createInstance(const std::string& name) {
  if (by_name_.count(name) != 0) return nullptr;
  InstanceConfig* instance = instances_.emplace_back(std::make_unique<InstanceConfig>(name)).get();
  by_name_.emplace(name, instance);
  return instance;
}

InstanceConfig* AgentConfig::getInstance(const std::string& name) {
  return FindNamed(by_name_, name);
}

const InstanceConfig* AgentConfig::getInstance(const std::string& name) const {
  return FindNamed(by_name_, name);
}

std::vector<std::string> AgentConfig::getInstanceNames() const {
  std::vector<std::string> names;
  names.reserve(instances_.size());
  for (const auto& instance : instances_) names.push_back(instance->getName());
  return names;
}

}  // namespace VFW
