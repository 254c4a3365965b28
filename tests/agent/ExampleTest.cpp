// The demonstration that `make run` shows: each of its steps holds, or it stops.
#include <gtest/gtest.h>

#include <string>

#include "tests/agent/Program.h"

namespace {

TEST(Example, TheDemonstrationGoesToItsEnd) {
  const TestAgent::Folder folder;
  const TestAgent::Result result =
      TestAgent::runProgram("/bin/sh", {"examples/campus.sh", FWAGENT_PROGRAM, folder.path()});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("+  policy/to-servers/rule/104857601"), std::string::npos);
  EXPECT_NE(result.out.find("1 write, "), std::string::npos);
  EXPECT_NE(result.out.find("rule 25 of \"to-servers\" matches"), std::string::npos);
}

}  // namespace
