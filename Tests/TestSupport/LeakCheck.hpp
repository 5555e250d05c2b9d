#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "TestSupport/ProcessState.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane::testkit {

/// Fails each test that leaves a descriptor, a connection, a thread, a task or a temporary file behind, and says which.
///
/// Work that ends by itself soon after the test may do so. Idle connections of the sessions that requests share are
/// closed first, as those sessions live as long as the process. While the check is installed, the temporary directory
/// is one of this process alone.
class LeakCheck final : public ::testing::EmptyTestEventListener {
 public:
  /// Checks every test of this process. Requires: GoogleTest was initialised, and no test has begun.
  static void install();

  /// `patience`: how long what is left may take to go.
  explicit LeakCheck(std::chrono::milliseconds patience);
  ~LeakCheck() override;

  void OnTestStart(const ::testing::TestInfo& test) override;
  void OnTestEnd(const ::testing::TestInfo& test) override;

  /// The same without a test at hand.
  void begin();
  /// Adds a failure to the current test when something is left.
  void end();

 private:
  ProcessState now() const { return ProcessState::now(directory_.path()); }
  std::vector<std::string> leftAfterPatience();

  const std::chrono::milliseconds patience_;
  const TemporaryDirectory directory_;
  std::optional<std::string> outerDirectory_;
  ProcessState before_;
};

}  // namespace corvane::testkit
