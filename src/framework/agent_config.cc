#include "framework/agent_config.h"

#include <algorithm>

namespace VFW {

namespace {

template <typename Owned>
auto FindNamed(const std::vector<std::unique_ptr<Owned>>& items, const std::string& name) {
  return std::find_if(items.begin(), items.end(), [&name](const std::unique_ptr<Owned>& item) {
    return item->getName() == name;
  });
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
  if (FindNamed(sections_, name) != sections_.end()) return nullptr;
  return sections_.emplace_back(std::make_unique<ConfigSection>(name)).get();
}

ConfigSection* ConfigBase::getSection(const std::string& name) {
  const auto found = FindNamed(sections_, name);
  return found == sections_.end() ? nullptr : found->get();
}

const ConfigSection* ConfigBase::getSection(const std::string& name) const {
  const auto found = FindNamed(sections_, name);
  return found == sections_.end() ? nullptr : found->get();
}

InstanceConfig* AgentConfig::createInstance(const std::string& name) {
  if (FindNamed(instances_, name) != instances_.end()) return nullptr;
  return instances_.emplace_back(std::make_unique<InstanceConfig>(name)).get();
}

InstanceConfig* AgentConfig::getInstance(const std::string& name) {
  const auto found = FindNamed(instances_, name);
  return found == instances_.end() ? nullptr : found->get();
}

const InstanceConfig* AgentConfig::getInstance(const std::string& name) const {
  const auto found = FindNamed(instances_, name);
  return found == instances_.end() ? nullptr : found->get();
}

std::vector<std::string> AgentConfig::getInstanceNames() const {
  std::vector<std::string> names;
  names.reserve(instances_.size());
  for (const auto& instance : instances_) names.push_back(instance->getName());
  return names;
}

}  // namespace VFW
