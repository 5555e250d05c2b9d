#include "Corvane/Request/HTTPBodyProducer.hpp"

#include <gtest/gtest.h>

#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"
#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;

/// A function that produces these pieces.
auto pieces(std::vector<std::string> list) {
  return [list = std::move(list), place = std::size_t{0}]() mutable -> std::optional<Data> {
    if (place == list.size()) return std::nullopt;
    return Data(list[place++]);
  };
}

struct SendRows : DataPostRequestable<SendRows, HTTPBodyProducer> {
  URL url;
  HTTPBodyProducer body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct SendEncodedRows : DataPutRequestable<SendEncodedRows, HTTPBodyProducer> {
  URL url;
  HTTPBodyProducer body;
  HTTPMediaType contentType = "text/csv";
  std::optional<HTTPContentEncoderType> contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct RetriedRows : DataPostRequestable<RetriedRows, HTTPBodyProducer>, HTTPRetryAttempting<RetriedRows> {
  URL url;
  HTTPBodyProducer body;
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryLimit = 1;
  static constexpr std::int64_t retryDelta = 0;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Works on whole bodies.
struct Reverser {
  explicit Reverser(Data) {}
  HTTPContentEncodingType encodingType() const { return HTTPContentEncodingType::gzip(); }
  Data encodedData() const { return {}; }
};

/// What the transport says of it.
std::string sentenceOf(const Error& error) {
  const auto facts = error.userInfo();
  const auto* const sentence = facts.find(platform::URLErrorKey::transportMessage);
  return sentence ? sentence->description() : "<none>";
}

class HTTPBodyProducerTest : public testkit::ServerTest {
 protected:
  ~HTTPBodyProducerTest() override {
    Corvane::resetSessions();
    EXPECT_TRUE(server.waitUntilAllClosed());
    server.takeFailures();  // of requests that were given up
  }
  template <class Request>
  static typename Request::Response responseTo(const Request& request) {
    return testkit::await<typename Request::Response>(
        [&](auto done) { request.send(DispatchQueue("HTTPBodyProducerTest"), done); });
  }
};

TEST_F(HTTPBodyProducerTest, sendsWhatAFunctionReturns) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(SendRows{.url = server.url("/"), .body = HTTPBodyProducer(pieces({"a", "b"}))});

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, "ab");
  EXPECT_TRUE(received.isChunked);
  EXPECT_EQ(received.header("Content-Type"), "application/octet-stream");
}

TEST_F(HTTPBodyProducerTest, sendsWhatAFunctionPutsIntoARoom) {
  server.enqueue(MockResponse(200));
  std::string text = "some text";
  const HTTPBodyProducer body(
      [text](std::span<std::byte> room) mutable {
        const std::size_t count = std::min(room.size(), text.size());
        std::memcpy(room.data(), text.data(), count);
        text.erase(0, count);
        return count;
      },
      {.length = text.size()});

  const auto response = responseTo(SendRows{.url = server.url("/"), .body = body});

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, "some text");
  EXPECT_EQ(received.header("Content-Length"), "9");
}

TEST_F(HTTPBodyProducerTest, callsItsFunctionsOnAQueueOfItsOwn) {
  server.enqueue(MockResponse(200));
  const Expectation<std::string> label;
  const HTTPBodyProducer body([label]() -> std::optional<Data> {
    label.fulfil(DispatchQueue::current() ? DispatchQueue::current()->label() : "none");
    return std::nullopt;
  });

  responseTo(SendRows{.url = server.url("/"), .body = body});

  EXPECT_EQ(label.wait(), "corvane.producer");
}

TEST_F(HTTPBodyProducerTest, failsTheSendWithWhatItsFunctionThrows) {
  const HTTPBodyProducer body([]() -> std::optional<Data> { throw std::runtime_error("no more rows"); });

  const auto response = responseTo(SendRows{.url = server.url("/"), .body = body});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "no more rows");
  EXPECT_TRUE(response.result.error()->is<std::runtime_error>());
}

TEST_F(HTTPBodyProducerTest, isRewoundForARedirect) {
  server.enqueue(MockResponse(308).header("Location", "/there"));
  server.enqueue(MockResponse(200));
  const auto place = std::make_shared<int>(0);
  const HTTPBodyProducer body(
      [place]() -> std::optional<Data> {
        return *place < 3 ? std::optional(Data(std::to_string((*place)++))) : std::nullopt;
      },
      {.rewind = [place] { *place = 0; }});
  EXPECT_TRUE(body.isRepeatable());

  const auto response = responseTo(SendRows{.url = server.url("/"), .body = body});

  EXPECT_TRUE(response.result.isSuccess());
  EXPECT_EQ(server.takeRequest().body, "012");
  EXPECT_EQ(server.takeRequest().body, "012");
}

TEST_F(HTTPBodyProducerTest, isNeverSentTwiceWithoutRewind) {
  server.enqueue(MockResponse(307).header("Location", "/there"));

  const auto response = responseTo(SendRows{.url = server.url("/"), .body = HTTPBodyProducer(pieces({"a"}))});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(sentenceOf(*response.result.error()), "the response asks for the body of the request once more, at " +
                                                      server.url("/there") + ", and its producer cannot be rewound");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(HTTPBodyProducerTest, endsRetryingWithoutRewind) {
  server.enqueue(MockResponse(503));
  const RetriedRows request{.url = server.url("/"), .body = HTTPBodyProducer(pieces({"a"}))};

  const auto result = request.sendAttemptingRetry().get();

  const auto* const error = result.lastResponse()->result.error();
  ASSERT_TRUE(error);
  EXPECT_EQ(sentenceOf(*error), "the body of the request was sent before, and its producer cannot be rewound");
  EXPECT_EQ(server.headCount(), 1);
}

TEST_F(HTTPBodyProducerTest, isNotAnnouncedTwiceUnderAnEncoderWithoutRewind) {
  server.enqueue(MockResponse(200));
  const SendEncodedRows request{.url = server.url("/"), .body = HTTPBodyProducer(pieces({"a"}))};
  EXPECT_TRUE(responseTo(request).result.isSuccess());

  const auto again = responseTo(request);

  ASSERT_TRUE(again.result.error());
  EXPECT_EQ(again.result.error()->code(), platform::URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(server.headCount(), 1);
}

TEST_F(HTTPBodyProducerTest, isRetriedWithRewind) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200));
  const RetriedRows request{.url = server.url("/"), .body = HTTPBodyProducer::ofData("bytes")};

  request.sendAttemptingRetry().get();

  EXPECT_EQ(server.takeRequest().body, "bytes");
  EXPECT_EQ(server.takeRequest().body, "bytes");
}

TEST_F(HTTPBodyProducerTest, isCompressedWhileItIsSent) {
  server.enqueue(MockResponse(307).header("Location", "/there"));
  server.enqueue(MockResponse(200));
  const std::string line(1000, 'x');
  const auto count = std::make_shared<int>(0);
  const HTTPBodyProducer body(
      [=]() -> std::optional<Data> {
        return (*count)++ < 1000 ? std::optional(Data(line + std::to_string(*count))) : std::nullopt;
      },
      {.length = 1'002'893, .rewind = [=] { *count = 0; }});

  const auto response = responseTo(SendEncodedRows{.url = server.url("/"), .body = body});

  EXPECT_TRUE(response.result.isSuccess()) << response.result.error()->message();
  server.takeRequest();
  const auto received = server.takeRequest();
  EXPECT_EQ(received.header("Content-Encoding"), "gzip");
  EXPECT_EQ(received.header("Content-Type"), "text/csv");
  EXPECT_TRUE(received.isChunked);
  EXPECT_LT(received.body.size(), 50'000U);
  std::string expected;
  for (int number = 1; number <= 1000; ++number) expected += line + std::to_string(number);
  EXPECT_EQ(GZipUnarchiver(received.body).unzip().text(), expected);
}

TEST_F(HTTPBodyProducerTest, failsUnderAnEncoderToo) {
  const auto sentenceFor = [&](std::uint64_t length) {
    const HTTPBodyProducer body(pieces({std::string(400, 'x')}), {.length = length});
    const auto response = responseTo(SendEncodedRows{.url = server.url("/"), .body = body});
    const Error* const error = response.result.error();
    if (!error) return std::string("<success>");
    EXPECT_EQ(error->code(), platform::URLErrorCode::requestBodyStreamExhausted);
    return sentenceOf(*error);
  };

  EXPECT_EQ(sentenceFor(1000), "the body of the request ended after 400 of 1000 bytes");
  EXPECT_EQ(sentenceFor(399), "the body of the request is longer than the 399 bytes announced for it");
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(HTTPBodyProducerTest, isNotEncodedByWhatNeedsAWholeBody) {
  SendEncodedRows request{.url = server.url("/"), .body = HTTPBodyProducer(pieces({"a"}))};
  request.contentEncoder = HTTPContentEncoderType::of<Reverser>();

  const auto response = responseTo(request);

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->domain(), "Corvane.HTTPContentEncoder");
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(HTTPBodyProducerTest, isGivenToTheLaterOfTwoRequests) {
  server.enqueue(MockResponse(200));
  const Expectation<void> isAsked;
  const Expectation<void> mayGoOn;
  const HTTPBodyProducer body(
      [=, place = 0]() mutable -> std::optional<Data> {
        if (place++ > 0) return std::nullopt;
        if (!isAsked.isFulfilled()) {
          isAsked.fulfil();
          mayGoOn.wait();
          place = 0;
        }
        return Data("bytes");
      },
      {.rewind = [] {}});
  const SendRows request{.url = server.url("/"), .body = body};
  const Expectation<DataResponse> first;
  request.send(DispatchQueue("first"), first);
  isAsked.wait();
  const Expectation<DataResponse> second;
  request.send(DispatchQueue("second"), second);
  ASSERT_TRUE(server.waitUntil([&] { return server.headCount() == 2; }));
  mayGoOn.fulfil();

  // Which of them comes first to the server's response is open; exactly one has it.
  const bool firstSucceeded = first.wait().result.isSuccess();
  const bool secondSucceeded = second.wait().result.isSuccess();

  EXPECT_TRUE(secondSucceeded);
  EXPECT_FALSE(firstSucceeded);
}

TEST_F(HTTPBodyProducerTest, isShownWithoutBeingCalled) {
  const SendRows request{.url = "https://h/", .body = HTTPBodyProducer([]() -> std::optional<Data> {
                                                ADD_FAILURE() << "it was called";
                                                return std::nullopt;
                                              })};
  const SendRows known{.url = "https://h/", .body = HTTPBodyProducer::ofData("bytes")};

  EXPECT_TRUE(request.curlCommand().ends_with(" -d [a body of unknown length, made while it is sent]"))
      << request.curlCommand();
  EXPECT_TRUE(known.curlCommand().ends_with(" -d [5 bytes, made while it is sent]")) << known.curlCommand();
  EXPECT_TRUE(request.shellCommand().text.ends_with(" --upload-file '-' 'https://h/'")) << request.shellCommand().text;
  EXPECT_TRUE(known.shellCommand().text.ends_with(" --data-binary '@-' 'https://h/'")) << known.shellCommand().text;
}

}  // namespace
}  // namespace corvane
