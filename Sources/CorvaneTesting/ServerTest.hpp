#pragma once

#include <gtest/gtest.h>

#include "CorvaneTesting/TestServer.hpp"

namespace corvane::testkit {

namespace detail {

/// Makes a failure of any server fail the test that owns it.
inline const bool failuresGoToGoogleTest = [] {
  TestServer::reportFailuresTo([](const std::string& failure) { ADD_FAILURE() << "test server: " << failure; });
  return true;
}();

}  // namespace detail

/// A test with its own server. A failure of the server fails the test.
class ServerTest : public ::testing::Test {
 protected:
  /// The server, which listens while the test runs. The test scripts its responses.
  TestServer server;
};

}  // namespace corvane::testkit
