#include "instance_file.h"

#include <gtest/gtest.h>

namespace {

using vinconfg::Entry;
using vinconfg::InstanceFile;

TEST(InstanceFileTest, GathersEverySectionOfANameInFileOrder) {
  InstanceFile file;
  file.Parse(
      "\xEF\xBB\xBF"
      "ignored=before any section\r\n"
      "[Identity]\r\n"
      "MarProd=VSQ\r\n"
      "MarTask=first\r\n"
      "; a comment=not an entry\r\n"
      "[ local settings ]\r\n"
      "  COLL_PORT =  1920 \r\n"
      "no equals sign\r\n"
      "\r\n"
      "[Services]\n"
      "Add=x\n"
      "[Local Settings]\r"
      "COLL_TRACE=ERROR\r"
      "EMPTY=\n"
      "[Identity]\n"
      "MarTask=second\n");
  EXPECT_EQ(file.EntriesOf("LOCAL SETTINGS"),
            (std::vector<Entry>{{"COLL_PORT", "1920"}, {"COLL_TRACE", "ERROR"}, {"EMPTY", ""}}));
  // A single value comes from the first section of the name.
  EXPECT_EQ(file.ValueOf("identity", "martask"), "first");
  EXPECT_EQ(file.ValueOf("Identity", "MarVers"), "");
  EXPECT_TRUE(file.HasSection("services"));
  EXPECT_FALSE(file.HasSection("Override Local Settings"));
  EXPECT_TRUE(file.EntriesOf("Override Local Settings").empty());
  EXPECT_FALSE(InstanceFile().Load("no/such/dir/VSQMMA_X.ini"));
}

}  // namespace
