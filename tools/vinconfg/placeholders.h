// The placeholders of instance files ("@ETCPATH@", "@MarTask@", ...) and their
// replacement by the values of one installation.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vinconfg {

class InstanceFile;

// Placeholder names in upper case (without the at-signs) and their values.
using Placeholders = std::map<std::string, std::string, std::less<>>;

// The placeholders of an instance registered from `file` as `instance`:
// - ETCPATH, BINPATH and DLLPATH: the agent's directory `etc` (without a
//   final separator), LOGPATH its "logs" directory;
// - PORTNUMBER: the environment variable PORTNUMBER, else the agent's default
//   port 1999;
// - INSTANCENAME: `instance`; COMPUTERNAME: the environment variable
//   COMPUTERNAME, else the computer's name;
// - MARPROD, MARVERS, MARTASK: the file's "[Identity]" entries.
[[nodiscard]] Placeholders PlaceholdersFor(const std::string& etc, const InstanceFile& file,
                                           const std::string& instance);

// `text` with every "@NAME@" whose NAME (without regard to case) is one of
// `placeholders` replaced by its value. Other at-signs stay as written, and a
// value put in is not searched again.
[[nodiscard]] std::string Resolve(std::string_view text, const Placeholders& placeholders);

}  // namespace vinconfg
