#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {

struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed>, HTTPRequestCancelable<Feed> {
  URL url;
  bool shouldSend = true;
  double timeoutInterval = 60;
  std::optional<std::int64_t> maximumBodyBytes;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// What a handler and a completion were given.
struct Streamed {
  std::vector<std::string> pieces;
  HTTPStreamResponse response;

  std::string body() const {
    std::string text;
    for (const std::string& piece : pieces) text += piece;
    return text;
  }
  const Error* error() const { return response.result.error(); }
  std::string message() const { return error() ? error()->message() : ""; }
};

/// All that is left of a sequence; the failure is thrown.
template <class Sequence>
std::vector<typename Sequence::Item> itemsOf(Sequence& sequence) {
  std::vector<typename Sequence::Item> items;
  while (auto item = sequence.next().get()) items.push_back(*std::move(item));
  return items;
}

inline std::string bodyOf(HTTPBodyStream& stream) {
  std::string text;
  for (const Data& piece : itemsOf(stream)) text += piece.view();
  return text;
}

/// Streams from a server of its own, with handlers on a queue of its own.
class StreamTest : public testkit::ServerTest {
 protected:
  ~StreamTest() override { Corvane::resetSessions(); }

  Feed feed(std::string_view target = "/") const { return {.url = server.url(target)}; }
  template <class Request>
  Streamed streamed(const Request& request, SendOptions options = {}) const {
    options.queue = queue;
    auto pieces = std::make_shared<std::vector<std::string>>();
    auto response = testkit::await<HTTPStreamResponse>([&](auto done) {
      request.stream(options, [pieces](const Data& piece) { pieces->push_back(piece.text()); }, done);
    });
    return {*pieces, std::move(response)};
  }

  const DispatchQueue queue{"StreamTest"};
};

inline const HTTPResponseError* responseError(const Error* error) {
  return error ? error->as<HTTPResponseError>() : nullptr;
}

/// What `call` throws; fails the test where it throws nothing.
template <class Call>
Error thrownBy(Call call) {
  try {
    call();
  } catch (...) {
    return Error::current();
  }
  ADD_FAILURE() << "nothing was thrown";
  return Error("none", 0, "nothing was thrown");
}

}  // namespace corvane
