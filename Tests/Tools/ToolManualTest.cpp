#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "CommandLine.hpp"

namespace {

using Names = std::set<std::string>;

std::string contentOf(const std::string& name) {
  std::ifstream file(CORVANE_TOOL_FOLDER "/" + name);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The first group of every match.
Names namesIn(const std::string& text, const char* expression) {
  const std::regex pattern(expression);
  Names names;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    names.insert((*match)[1].str());
  }
  return names;
}

Names namesInTheHelp() {
  const char* words[] = {"corvane", "--help"};
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(parseCommandLine(2, words));
  return namesIn(::testing::internal::GetCapturedStdout(), R"(\n  (?:-h,)?--([a-z-]+)(?= ))");
}

TEST(ToolManualTest, describesTheOptionsThatThereAre) {
  const std::string manual = std::regex_replace(contentOf("corvane.1"), std::regex(R"(\\-)"), "-");

  const Names names = namesIn(manual, R"(\n\.TP\n\.BI? (?:-h " , " )?--([a-z-]+))");
  EXPECT_GT(names.size(), 25u);

  Names help = namesInTheHelp();
  help.erase("help");  // has two names on its line
  EXPECT_EQ(names, help);
  EXPECT_THAT(manual, ::testing::HasSubstr(".BR -h \", \" --help"));
}

TEST(ToolManualTest, completesTheOptionsThatThereAre) {
  const Names help = namesInTheHelp();

  EXPECT_EQ(namesIn(contentOf("Completions/corvane.bash"), "[ '\n]--([a-z-]+)"), help);
  EXPECT_EQ(namesIn(contentOf("Completions/_corvane"), R"([*'),]--([a-z-]+)[\[}])"), help);
  EXPECT_EQ(namesIn(contentOf("Completions/corvane.fish"), " -l ([a-z-]+)"), help);
}

}  // namespace
