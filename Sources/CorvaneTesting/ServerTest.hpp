#pragma once

#include <gtest/gtest.h>

#include "CorvaneTesting/TestServer.hpp"

namespace corvane::testing {

namespace detail {

/// Makes what went wrong at any server fail the test that owned it.
inline const bool failuresGoToGoogleTest = [] {
  TestServer::reportFailuresTo([](const std::string& failure) { ADD_FAILURE() << "test server: " << failure; });
  return true;
}();

}  // namespace detail

/// A test with a server of its own. What went wrong at the server fails the test.
class ServerTest : public ::testing::Test {
 protected:
  /// Listens while the test runs; scripts are the test's to write.
  TestServer server;
};

}  // namespace corvane::testing
