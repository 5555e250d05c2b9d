#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {

struct Get : DataGetRequestable<Get>, HTTPRequestCancelable<Get> {
  URL url;
  bool shouldSend = true;
  HTTPHeaders sharedHeaders() const { return {}; }
};

inline const HTTPResponseError* responseError(const DataResponse& response) {
  return response.result.error() ? response.result.error()->as<HTTPResponseError>() : nullptr;
}

/// Sends to a server of its own, with completions on a queue of its own.
class SendTest : public testkit::ServerTest {
 protected:
  ~SendTest() override { Corvane::resetSessions(); }

  template <class Request>
  DataResponse responseTo(const Request& request) const {
    return testkit::await<DataResponse>([&](auto done) { request.send(queue, done); });
  }
  Get get(std::string_view target = "/") const { return {.url = server.url(target)}; }

  const DispatchQueue queue{"SendTest"};
};

}  // namespace corvane
