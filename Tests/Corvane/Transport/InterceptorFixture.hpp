#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {

/// What the requests of these tests have in common.
inline constexpr const char* interceptedIdentifier = "intercepted";

struct InterceptedGet : DataGetRequestable<InterceptedGet>, HTTPRequestCancelable<InterceptedGet> {
  URL url;
  HTTPHeaders headers = {};
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct InterceptedPost : DataPostRequestable<InterceptedPost, std::string> {
  std::string body;
  URL url;
  HTTPMediaType contentType = "text/plain";
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// A test with a server, whose requests pass the interceptors of the test.
class InterceptorTest : public testkit::ServerTest {
 protected:
  using Chain = HTTPInterceptorChain;
  using Intercepted = HTTPInterceptedResponse;

  ~InterceptorTest() override {
    HTTPClientConfiguration::removeAll();
    Corvane::resetSessions();
  }

  void add(std::shared_ptr<HTTPInterceptor> interceptor) {
    configuration_.interceptors.push_back(std::move(interceptor));
    HTTPClientConfiguration::set(interceptedIdentifier, configuration_);
  }
  /// `function(URLRequest, HTTPInterceptorChain)`.
  template <class Function>
  void intercept(Function function) {
    add(HTTPInterceptor::calling(std::move(function)));
  }

  InterceptedGet get(std::string_view target = "/") const { return {.url = server.url(target)}; }
  std::string bodyOf(const InterceptedGet& request) const { return request.send().get().body.text(); }
  template <class Request>
  static Error failureOf(const Request& request, SendOptions options = {}) {
    const auto result = request.send(std::move(options)).result();
    EXPECT_TRUE(result.error());
    return result.error() ? *result.error() : Error("none", 0, "");
  }

  HTTPClientConfiguration configuration_;
};

}  // namespace corvane
