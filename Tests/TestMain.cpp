#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "TestSupport/LeakCheck.hpp"

namespace {

/// Whether this process runs tests: not one that lists them, nor one that runs the statement of a death test.
bool runsTests(int count, char** arguments) {
  return std::none_of(arguments, arguments + count, [](std::string_view argument) {
    return argument.starts_with("--gtest_list_tests") || argument.starts_with("--gtest_internal_run_death_test");
  });
}

}  // namespace

/// Death tests run their statement in a process of its own. A forked child would have the locks that other threads held
/// at that moment, and none of the threads that give them back.
int main(int count, char** arguments) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const bool isChecked = runsTests(count, arguments);
  testing::InitGoogleMock(&count, arguments);
  if (isChecked) corvane::testkit::LeakCheck::install();
  return RUN_ALL_TESTS();
}
