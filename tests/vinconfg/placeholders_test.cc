#include "placeholders.h"

#include <gtest/gtest.h>

#include <optional>

#include "common/scopes.h"
#include "instance_file.h"
#include "platform/system.h"

namespace {

using sqxa_test::ScopedEnv;
using vinconfg::Resolve;

const vinconfg::Placeholders kValues = {
    {"ETCPATH", "C:\\prod\\etc"}, {"MARTASK", "INST1"}, {"EMPTY", ""}, {"LOOP", "@ETCPATH@"}};

TEST(PlaceholdersTest, ResolvesKnownNamesWithoutRegardToCase) {
  EXPECT_EQ(Resolve("@EtcPath@\\vsqenv", kValues), "C:\\prod\\etc\\vsqenv");
  EXPECT_EQ(Resolve("@etcpath@@MarTask@", kValues),
            "C:\\prod\\etc"
            "INST1");
  EXPECT_EQ(Resolve("x@EMPTY@y", kValues), "xy");
  // A value put in is not searched again.
  EXPECT_EQ(Resolve("@LOOP@", kValues), "@ETCPATH@");
}

TEST(PlaceholdersTest, LeavesOtherAtSignsAsWritten) {
  EXPECT_EQ(Resolve("KDC_FAMILIES=@Protocol@", kValues), "KDC_FAMILIES=@Protocol@");
  EXPECT_EQ(Resolve("user@host@MarTask@", kValues), "user@hostINST1");
  EXPECT_EQ(Resolve("@@MARTASK@", kValues), "@INST1");
  EXPECT_EQ(Resolve("unclosed @ETCPATH", kValues), "unclosed @ETCPATH");
  EXPECT_EQ(Resolve("@", kValues), "@");
  EXPECT_EQ(Resolve("", kValues), "");
}

TEST(PlaceholdersTest, InstallationValuesComeFromTheDirectoryTheFileAndTheEnvironment) {
  vinconfg::InstanceFile file;
  file.Parse("[Identity]\nMarProd=VSQ\nMarVers=610\nMarTask=INST1\n");
  std::optional<ScopedEnv> port(std::in_place, "PORTNUMBER", "1920");
  std::optional<ScopedEnv> computer(std::in_place, "COMPUTERNAME", "HOST7");
  const vinconfg::Placeholders values = vinconfg::PlaceholdersFor("C:\\prod\\etc", file, "");
  const std::string text =
      "@ETCPATH@|@BINPATH@|@DLLPATH@|@LOGPATH@|@PORTNUMBER@|@INSTANCENAME@|@COMPUTERNAME@|"
      "@MarProd@\\@MarVers@\\@MarTask@";
  EXPECT_EQ(Resolve(text, values),
            "C:\\prod\\etc|C:\\prod\\etc|C:\\prod\\etc|C:\\prod\\etc\\logs|1920||HOST7|"
            "VSQ\\610\\INST1");

  port.emplace("PORTNUMBER", std::nullopt);
  computer.emplace("COMPUTERNAME", std::nullopt);
  const vinconfg::Placeholders defaults = vinconfg::PlaceholdersFor("etc", file, "I");
  EXPECT_EQ(Resolve("@PORTNUMBER@ @COMPUTERNAME@", defaults), "1999 " + platform::ComputerName());
}

}  // namespace
