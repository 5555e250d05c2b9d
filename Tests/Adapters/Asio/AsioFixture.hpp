#pragma once

#ifdef CORVANE_TESTS_BOOST_ASIO
#include <CorvaneAsio/BoostAsio.hpp>
#include <boost/asio.hpp>
#include <boost/asio/experimental/as_tuple.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/experimental/deferred.hpp>
namespace net = boost::asio;
#else
#include <CorvaneAsio/Asio.hpp>
#include <asio.hpp>
#include <asio/experimental/as_tuple.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/experimental/deferred.hpp>
namespace net = asio;
#endif

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <string_view>
#include <thread>

#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {

struct Get : DataGetRequestable<Get> {
  URL url;
  bool shouldSend = true;
  HTTPHeaders sharedHeaders() const { return {}; }
};

inline std::string messageOf(const std::exception_ptr& error) {
  return error ? Error::from(error).message() : "no error";
}
inline const std::string cancelledMessage = HTTPResponseError::taskCancelled().message();

/// Sends to a server of its own, from a context of its own.
class AsioTest : public testkit::ServerTest {
 protected:
  using Latch = testkit::Latch;
  using MockResponse = testkit::MockResponse;

  ~AsioTest() override {
    latch.open();
    Corvane::resetSessions();
  }

  Get get(std::string_view target = "/") const { return {.url = server.url(target)}; }
  void holdResponses(int count = 1) {
    for (int number = 0; number < count; ++number) {
      server.enqueue(MockResponse(200).hold(testkit::Moment::beforeStatusLine, latch));
    }
  }
  /// Runs until there is no work left; false when that takes too long.
  bool runToTheEnd() {
    context.run_for(std::chrono::seconds(20));
    return context.stopped();
  }

  net::io_context context;
  const Latch latch;
};

}  // namespace corvane
