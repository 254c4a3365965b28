// Every kind of refused configuration, with the place and the words that tell it.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/agent/Program.h"
#include "tests/agent/RefusedDocuments.h"

namespace {

using TestAgent::Folder;
using TestAgent::RefusedDocument;
using TestAgent::refusedDocuments;
using TestAgent::Result;
using TestAgent::run;

// The messages without the summary, of a document in a file of that name.
std::string refusal(const std::string& content, const std::string& name = "a.yaml") {
  const Folder folder;
  const Result result = run({"check", "--quiet", folder.file(name, content)});
  EXPECT_EQ(result.status, 2) << result.err;
  EXPECT_EQ(result.out, "");
  return folder.without(result.err);
}

class Refusal : public ::testing::TestWithParam<RefusedDocument> {};

TEST_P(Refusal, IsToldWithItsPlaceAndWhatWouldBeRight) {
  EXPECT_EQ(refusal(GetParam().content, GetParam().file), GetParam().messages);
}

INSTANTIATE_TEST_SUITE_P(Of, Refusal, ::testing::ValuesIn(refusedDocuments()),
                         [](const auto& each) { return each.param.name; });

TEST(Refused, TheSameEntryInTwoFiles) {
  const Folder folder;
  const std::string first = folder.file("a.yaml", "app: {web: {}}\n");
  const std::string second = folder.file("b.json", "{\"app\": {\"web\": {}}}");
  const Result result = run({"check", "-q", first, second});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(folder.without(result.err),
            "b.json:1:10: error: app/web: given twice; the first is at a.yaml:1:7\n");
}

TEST(Refused, WhatIsNotUtf8) {
  EXPECT_EQ(refusal("{\"app\": {\"\xff\": {}}}", "a.json").substr(0, 30),
            "a.json:1:11: error: not JSON: ");
  EXPECT_EQ(refusal("app:\n  \xff: {}\n").substr(0, 37), "a.yaml:2:3: error: not UTF-8 text: in");
}

TEST(Refused, AFileThatCannotBeReadIsAnInputError) {
  const Folder folder;
  const Result result = run({"check", folder.path() + "/none.yaml"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(folder.without(result.err),
            "none.yaml: error: cannot be read: No such file or directory\n1 error\n");
}

TEST(Refused, AFileThatIsTooLargeIsNotRead) {
  const Folder folder;
  const std::string file = folder.file("a.json", "");
  std::filesystem::resize_file(file, std::uintmax_t{1} << 30U);  // takes no space
  const Result result = run({"check", file});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(folder.without(result.err), "a.json: error: is larger than 256 MiB\n1 error\n");
}

TEST(Refused, AFileThatIsCutAnywhereIsTold) {
  const Folder folder;
  const std::string whole =
      R"({"app": {"web": {"proto": ["tcp", 17], "af": "ipv4"}}, "switch": null})";
  for (std::size_t bytes = 0; bytes < whole.size(); ++bytes) {
    EXPECT_EQ(run({"check", folder.file("a.json", whole.substr(0, bytes))}).status, 2) << bytes;
  }
  EXPECT_EQ(run({"check", folder.file("a.json", whole)}).status, 0);
}

TEST(Refused, AFolderWithoutDocumentsIsAnInputError) {
  const Folder folder;
  folder.file("sub/readme.txt", "");
  const Result result = run({"check", folder.path() + "/sub"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(folder.without(result.err),
            "sub: error: holds no file ending in .json, .yaml or .yml\n1 error\n");
}

TEST(Refused, AllErrorsAtOnceInTheOrderOfTheFile) {
  const Folder folder;
  const std::string file = folder.file("a.yaml",
                                       "app:\n"
                                       "  web: {proto: [x], af: ipv5}\n"
                                       "nothing: {}\n"
                                       "switch: {vrf: red}\n");
  const Result result = run({"check", file});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(folder.without(result.err),
            "a.yaml:2:17: error: app/web/proto/x: \"x\" is not a protocol such as tcp, or its "
            "number 0 to 255, or a rising range of numbers\n"
            "a.yaml:2:25: error: app/web/af: \"ipv5\" is not unspecified, ipv4 or ipv6; did you "
            "mean \"ipv4\"?\n"
            "a.yaml:3:1: error: nothing: unknown key; known are switch, fieldSetL4Port, "
            "fieldSetIpPrefix, app, matchIpv4PrefixList, matchIpv6PrefixList, prefixList, "
            "ipv6PrefixList, source\n"
            "a.yaml:4:15: error: switch/vrf: a list is wanted, not a text\n"
            "4 errors\n");
  EXPECT_EQ(folder.without(run({"check", "--max-errors", "1", file}).err),
            "a.yaml:2:17: error: app/web/proto/x: \"x\" is not a protocol such as tcp, or its "
            "number 0 to 255, or a rising range of numbers\n"
            "3 more are not shown (--max-errors 0 shows all)\n"
            "4 errors\n");
}

// A list of that many bytes, each second of them a value.
std::string zeros(std::size_t bytes) {
  std::string text = "[";
  while (text.size() < bytes) text += "0,";
  return text + "0]";
}

TEST(Refused, WhatHasTooManyValues) {
  const std::string tooMuch = "error: more than 4,000,000 values and keys\n";
  EXPECT_EQ(refusal(zeros(9'000'000), "a.json"), "a.json:1:8000000: " + tooMuch);
  EXPECT_EQ(refusal(zeros(9'000'000)), "a.yaml:1:8000000: " + tooMuch);
}

TEST(Refused, TooManyErrorsAreCountedAndNotKept) {
  const Folder folder;
  std::string text = R"({"fieldSetL4Port": {"s": {"ports": [)";
  for (int i = 0; i < 100'001; ++i) text += std::to_string(70'000 + i) + ",";
  const Result result = run({"check", folder.file("a.json", text + "70000]}}}")});
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.err.find("\n99,950 more are not shown (--max-errors 0 shows all)\n"
                            "2 more were not kept\n100,002 errors\n"),
            std::string::npos)
      << result.err.substr(result.err.size() - 200);
}

TEST(Refused, ControlCharactersDoNotReachTheTerminal) {
  EXPECT_EQ(refusal("{\"\\u001b[2J\": 1}", "a.json").find('\x1b'), std::string::npos);
}

TEST(Refused, ADirectoryIsReadInTheOrderOfItsNames) {
  const Folder folder;
  folder.file("d/b.yaml", "app: {web: {}}\n");
  folder.file("d/c.json", "{\"app\": {\"web\": {}}}");
  folder.file("d/a.yml", "app: {web: {}}\n");
  folder.file("d/0.txt", "nothing\n");
  EXPECT_EQ(folder.without(run({"check", "-q", folder.path() + "/d"}).err),
            "d/b.yaml:1:7: error: app/web: given twice; the first is at d/a.yml:1:7\n"
            "d/c.json:1:10: error: app/web: given twice; the first is at d/a.yml:1:7\n");
}

TEST(Refused, OtherFilesAreReadAllTheSame) {
  const Folder folder;
  const std::string broken = folder.file("a.json", "{");
  const std::string wrong = folder.file("b.yaml", "ap: {}\n");
  EXPECT_EQ(folder.without(run({"check", "-q", broken, wrong}).err),
            "a.json:1:2: error: not JSON: the file ends too early\n"
            "b.yaml:1:1: error: ap: unknown key; did you mean \"app\"?\n");
}

TEST(Taken, APartThatIsNothingInOneFileAndSomethingInAnother) {
  const Folder folder;
  const std::string first = folder.file("a.yaml", "app:\n");
  const std::string second = folder.file("b.yaml", "app: {web: {}}\n");
  EXPECT_EQ(run({"check", first, second, first}).status, 0);
}

TEST(Taken, WhatEditorsOfOtherSystemsWrite) {
  const Folder folder;
  const std::string mark = "\xef\xbb\xbf";
  EXPECT_EQ(run({"check", folder.file("a.yaml", mark + "app:\r\n  web: {}\r\n")}).status, 0);
  EXPECT_EQ(run({"check", folder.file("a.json", mark + "{\"app\":\r\n{}}\r\n")}).status, 0);
  EXPECT_EQ(run({"check", folder.file("b.yaml", "")}).status, 0);
  EXPECT_EQ(refusal(mark + "app:\r\n  web: 1\r\n"),
            "a.yaml:2:8: error: app/web: a mapping is wanted, not a number\n");
}

}  // namespace
