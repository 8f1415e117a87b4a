// Puts a registry fixture in place for a test. Fixtures are .reg files of
// tests/fixtures/registry whose keys all lie under kRegistryTestRoot, so that
// they never meet the keys of a real machine.
#pragma once

#include <string>

namespace sqxa_test {

inline constexpr char kRegistryTestRoot[] = "Software\\SqXaTest";

// Makes this machine's registry hold the fixture `name` under kRegistryTestRoot,
// and nothing else there. With the file-backed registry: points the registry
// at a fresh copy of the fixture (tests may write to it). With the Win32
// registry: deletes kRegistryTestRoot and imports the fixture. Connect after it.
[[nodiscard]] bool LoadRegistryFixture(const std::string& name);

}  // namespace sqxa_test
