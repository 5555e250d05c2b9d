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

std::string help() {
  const char* words[] = {"corvane", "--help"};
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(parseCommandLine(2, words));
  return ::testing::internal::GetCapturedStdout();
}
Names namesInTheHelp() { return namesIn(help(), R"(\n  (?:-[A-Za-z],)?--([a-z-]+)(?= ))"); }

TEST(ToolManualTest, describesTheOptionsThatThereAre) {
  const std::string manual = std::regex_replace(contentOf("corvane.1"), std::regex(R"(\\-)"), "-");

  const Names names = namesIn(manual, R"re(\n\.TP\n\.B[IR]? (?:-[A-Za-z] "[^"]*" )?--([a-z-]+))re");
  EXPECT_GT(names.size(), 25u);

  EXPECT_EQ(names, namesInTheHelp());
}

TEST(ToolManualTest, completesTheOptionsThatThereAre) {
  const Names help = namesInTheHelp();

  EXPECT_EQ(namesIn(contentOf("Completions/corvane.bash"), "[ '\n]--([a-z-]+)"), help);
  EXPECT_EQ(namesIn(contentOf("Completions/_corvane"), R"([*'),]--([a-z-]+)[\[}])"), help);
  EXPECT_EQ(namesIn(contentOf("Completions/corvane.fish"), " -l ([a-z-]+)"), help);
}

TEST(ToolManualTest, hasTheSameShortNamesEverywhere) {
  const Names shortNames = namesIn(help(), R"(\n  -([A-Za-z],--[a-z-]+) )");
  EXPECT_GT(shortNames.size(), 8u);

  const auto joined = [](const std::string& text, const char* expression) {
    return std::regex_replace(text, std::regex(expression), "$1,--$2");
  };
  const std::string manual =
      joined(contentOf("corvane.1"), R"re(\n\.TP\n\.B[IR] \\-([A-Za-z]) "[^"]*" \\-\\-([a-z-]+))re");
  EXPECT_EQ(namesIn(manual, R"(([A-Za-z],--[a-z-]+))"), shortNames);
  EXPECT_EQ(namesIn(contentOf("Completions/_corvane"), R"(\{-([A-Za-z],--[a-z-]+)\})"), shortNames);
  const std::string fish = joined(contentOf("Completions/corvane.fish"), R"(-s ([A-Za-z]) -l ([a-z-]+))");
  EXPECT_EQ(namesIn(fish, R"(([A-Za-z],--[a-z-]+))"), shortNames);
}

}  // namespace
