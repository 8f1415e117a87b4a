// The parts of an agent instance's .ini file that registration needs: its
// sections with their entries, in file order.
//
// The file is read whole here rather than through the profile functions:
// those see only the first section of a name, and an instance file carries a
// second "[Local Settings]" (the management agent's own settings, appended at
// its end). Lines are read the way the profile functions read them: blanks
// around lines, names and values dropped, ";" lines and blank lines skipped, a
// section name compared without regard to case.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vinconfg {

using Entry = std::pair<std::string, std::string>;  // name, value

struct IniSection {
  std::string name;
  std::vector<Entry> entries;
};

class InstanceFile {
 public:
  // Reads `path`; false when it cannot be read.
  [[nodiscard]] bool Load(const std::string& path);
  // Takes the file's text.
  void Parse(std::string_view text);

  // The entries of every section named `section`, in file order.
  [[nodiscard]] std::vector<Entry> EntriesOf(std::string_view section) const;
  // The value of the first entry `name` of the first section `section`; empty
  // when there is none.
  [[nodiscard]] std::string ValueOf(std::string_view section, std::string_view name) const;
  [[nodiscard]] bool HasSection(std::string_view section) const;

 private:
  std::vector<IniSection> sections_;
};

// True when the names are equal without regard to the case of ASCII letters.
[[nodiscard]] bool NamesEqual(std::string_view a, std::string_view b);
// The name with its ASCII letters in upper case: one spelling for all the
// spellings that NamesEqual takes as equal.
[[nodiscard]] std::string UpperCase(std::string_view name);

}  // namespace vinconfg
