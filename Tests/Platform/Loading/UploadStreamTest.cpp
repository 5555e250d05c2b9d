#include "CorvaneTesting/Expectation.hpp"
#include "TestSupport/NetworkTime.hpp"
#include "TransferTest.hpp"
#include "UploadStreams.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using corvane::testkit::Ending;
using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::NetworkTime;

/// Requests whose body is made while it is sent.
class UploadStreamTest : public TransferTest {
 protected:
  URLRequest requestWith(std::shared_ptr<URLBodyStream> body, std::string_view target = "/",
                         std::string method = "POST") {
    URLRequest made = request(server.url(target), std::move(method));
    made.httpBodyStream = std::move(body);
    return made;
  }
  Loaded send(std::shared_ptr<URLBodyStream> body, std::string method = "POST") {
    return load(requestWith(std::move(body), "/", std::move(method)));
  }
  /// Leaves a connection to the server behind that is kept.
  void keepConnection() {
    server.enqueue(MockResponse(200));
    ASSERT_EQ(load("/").status(), 200);
    ASSERT_TRUE(server.waitUntil([&] { return server.idleConnections() == 1; }));
    server.takeRequest();
  }
};

TEST_F(UploadStreamTest, sendsABodyOfUnknownLengthInChunks) {
  server.enqueue(MockResponse(200).body("thanks"));

  const Loaded loaded = send(MadeBody::of({"one ", "", "two ", "three"}));

  EXPECT_EQ(loaded.body(), "thanks") << loaded.message();
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, "one two three");
  EXPECT_TRUE(received.isChunked);
  EXPECT_EQ(received.header("Transfer-Encoding"), "chunked");
  EXPECT_FALSE(received.hasHeader("Content-Length"));
}

TEST_F(UploadStreamTest, announcesALengthThatIsKnown) {
  server.enqueue(MockResponse(200));

  const Loaded loaded = send(MadeBody::of({"one ", "two"}, 7));

  EXPECT_EQ(loaded.status(), 200) << loaded.message();
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, "one two");
  EXPECT_FALSE(received.isChunked);
  EXPECT_EQ(received.header("Content-Length"), "7");
}

TEST_F(UploadStreamTest, sendsAnEmptyBody) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(200));

  EXPECT_EQ(send(MadeBody::of({})).status(), 200);
  EXPECT_EQ(send(MadeBody::of({}, 0)).status(), 200);

  const auto chunked = server.takeRequest();
  EXPECT_TRUE(chunked.isChunked);
  EXPECT_EQ(chunked.bodySize, 0U);
  EXPECT_EQ(server.takeRequest().header("Content-Length"), "0");
}

TEST_F(UploadStreamTest, keepsTheConnectionAfterwards) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(200));

  send(MadeBody::of({"one"}));
  send(MadeBody::of({"two"}));

  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(UploadStreamTest, sendsLargePiecesAsTheyAre) {
  server.enqueue(MockResponse(200));
  const std::string piece(3'000'000, 'x');

  const Loaded loaded = send(MadeBody::of({piece, "y", piece}));

  EXPECT_EQ(loaded.status(), 200) << loaded.message();
  EXPECT_EQ(server.takeRequest().body, piece + "y" + piece);
}

TEST_F(UploadStreamTest, isTheBodyOfADownloadToo) {
  server.enqueue(MockResponse(200).body("content"));

  const Downloaded downloaded = download(requestWith(MadeBody::of({"question"})));

  EXPECT_EQ(contents(downloaded.file), "content");
  EXPECT_EQ(server.takeRequest().body, "question");
}

TEST_F(UploadStreamTest, failsWithWhatTheStreamThrows) {
  const auto body = std::make_shared<MadeBody>([](int, int piece) -> std::optional<Data> {
    if (piece < 2) return Data("bytes");
    throw Error("Rows", 7, "the row is not there");
  });

  const Loaded loaded = send(body);

  ASSERT_TRUE(loaded.error);
  EXPECT_EQ(loaded.error->domain(), "Rows");
  EXPECT_EQ(loaded.code(), 7);
  EXPECT_EQ(loaded.message(), "the row is not there");
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(UploadStreamTest, failsWhenTheBodyIsShorterThanAnnounced) {
  const Loaded loaded = send(MadeBody::of({"one ", "two"}, 10));

  EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(loaded.message(), "the body of the request ended after 7 of 10 bytes");
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(UploadStreamTest, failsBeforeTheLastByteWhenTheBodyIsLongerThanAnnounced) {
  for (const auto& pieces : {std::vector<std::string>{"one ", "two", "three"}, {"one two", "x"}, {"one two three"}}) {
    const Loaded loaded = send(MadeBody::of(pieces, 7));

    EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted);
    EXPECT_EQ(loaded.message(), "the body of the request is longer than the 7 bytes announced for it");
    EXPECT_TRUE(server.waitUntilAllClosed());
  }
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(UploadStreamTest, asksForTwoPiecesAheadAtMost) {
  server.enqueue(MockResponse(200).stall(Moment::insideRequestBody, 10));
  // Far more than the system takes at once.
  const auto body = std::make_shared<MadeBody>(
      [](int, int piece) { return piece < 100 ? std::optional(Data(std::string(8 << 20, 'x'))) : std::nullopt; });
  Load loading(session, requestWith(body));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  EXPECT_LE(body->asked(), 4);
}

TEST_F(UploadStreamTest, beginsWhenAConnectionIsReadyForIt) {
  const auto body = MadeBody::of({"one"});
  URLRequest nowhere = requestWith(body);
  nowhere.url = URL("http://127.0.0.1:1/");

  const Loaded loaded = load(nowhere);

  EXPECT_EQ(loaded.code(), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(body->passes(), 0);
}

TEST_F(UploadStreamTest, refusesALengthThatContradictsTheBody) {
  URLRequest wrong = requestWith(MadeBody::of({"one"}, 3));
  wrong.allHTTPHeaderFields.set("Content-Length", "4");
  EXPECT_EQ(load(wrong).message(), "The header field \"Content-Length\" says \"4\", but the body has 3 bytes.");
  wrong.httpBodyStream = MadeBody::of({"one"});
  EXPECT_EQ(load(wrong).message(),
            "The header field \"Content-Length\" says \"4\", but the length of the body is not known beforehand.");
  URLRequest twice = requestWith(MadeBody::of({"one"}));
  twice.httpBody = Data("two");
  EXPECT_EQ(load(twice).message(), "The request has two bodies: `httpBody` and `httpBodyStream`.");
  EXPECT_EQ(load(requestWith(MadeBody::of({"one"}), "/", "HEAD")).message(), "A HEAD request may not have a body.");
  EXPECT_EQ(server.connectionCount(), 0);
}

// Sending it again

TEST_F(UploadStreamTest, isReadAgainForARedirectThatKeepsTheMethod) {
  for (const int status : {307, 308}) {
    server.enqueue(MockResponse(status).header("Location", "/there"));
    server.enqueue(MockResponse(200).body("there"));
    const auto body = MadeBody::of({"one ", "two"});

    const Loaded loaded = send(body);

    EXPECT_EQ(loaded.body(), "there") << loaded.message();
    EXPECT_EQ(body->passes(), 2);
    EXPECT_EQ(server.takeRequest().body, "one two");
    EXPECT_EQ(server.takeRequest().body, "one two");
  }
}

TEST_F(UploadStreamTest, failsARedirectThatAsksForABodyWhichCanBeReadOnce) {
  server.enqueue(MockResponse(307).header("Location", "/there"));
  const auto body = MadeBody::of({"one ", "two"}, {}, false);

  const Loaded loaded = send(body);

  EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(loaded.message(), "the response asks for the body of the request once more, at " + server.url("/there") +
                                  ", and its producer cannot be rewound");
  EXPECT_EQ(loaded.status(), 307);
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(UploadStreamTest, isLeftOutAfterARedirectThatBecomesAGet) {
  server.enqueue(MockResponse(303).header("Location", "/there"));
  server.enqueue(MockResponse(200).body("there"));

  const Loaded loaded = send(MadeBody::of({"one"}, {}, false));

  EXPECT_EQ(loaded.body(), "there") << loaded.message();
  server.takeRequest();
  const auto second = server.takeRequest();
  EXPECT_EQ(second.method, "GET");
  EXPECT_FALSE(second.hasHeader("Transfer-Encoding"));
}

TEST_F(UploadStreamTest, isNotSentTwiceByASecondTask) {
  server.enqueue(MockResponse(200));
  const auto body = MadeBody::of({"one"}, {}, false);
  ASSERT_EQ(send(body).status(), 200);

  const Loaded again = send(body);

  EXPECT_EQ(again.code(), URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(again.message(), "the body of the request was sent before, and its producer cannot be rewound");
  EXPECT_EQ(server.headCount(), 1);
}

TEST_F(UploadStreamTest, isReadAgainWhenAKeptConnectionBreaks) {
  keepConnection();
  server.enqueue(MockResponse(200).end(Ending::close, Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("second"));
  const auto body = MadeBody::of({"one ", "two"});

  const Loaded loaded = send(body, "PUT");

  EXPECT_EQ(loaded.body(), "second") << loaded.message();
  EXPECT_EQ(body->passes(), 2);
  server.takeRequest();
  EXPECT_EQ(server.takeRequest().body, "one two");
}

TEST_F(UploadStreamTest, isNotSentAgainWhenAKeptConnectionBreaksAndItCanBeReadOnce) {
  keepConnection();
  server.enqueue(MockResponse(200).end(Ending::close, Moment::beforeStatusLine));

  const Loaded loaded = send(MadeBody::of({"one ", "two"}, {}, false), "PUT");

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost);
  EXPECT_NE(loaded.message().find(", and the body of the request cannot be sent again: its producer cannot be rewound"),
            std::string::npos)
      << loaded.message();
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(UploadStreamTest, isLostWithItsConnection) {
  for (const auto ending : {Ending::close, Ending::reset}) {
    server.enqueue(MockResponse(200).end(ending, Moment::insideRequestBody, 100));
    const auto body = std::make_shared<MadeBody>(
        [](int, int piece) { return piece < 64 ? std::optional(Data(std::string(1 << 20, 'x'))) : std::nullopt; });

    EXPECT_EQ(send(body, "PUT").code(), URLErrorCode::networkConnectionLost);
    EXPECT_EQ(body->passes(), 1);
  }
}

TEST_F(UploadStreamTest, isEndedByAResponseThatRefusesIt) {
  server.enqueue(MockResponse(413).body("too much").beforeRequestBody(10));
  const auto body = std::make_shared<MadeBody>(
      [](int, int piece) { return piece < 4096 ? std::optional(Data(std::string(1 << 20, 'x'))) : std::nullopt; });

  const Loaded loaded = send(body);

  EXPECT_EQ(loaded.status(), 413) << loaded.message();
  EXPECT_EQ(loaded.body(), "too much");
  EXPECT_LT(body->asked(), 4096);
}

TEST_F(UploadStreamTest, isSentWithoutAnExpectationThatTheServerDoesNotKnow) {
  server.enqueue(MockResponse(417).beforeRequestBody());
  server.enqueue(MockResponse(200));
  URLRequest request = requestWith(MadeBody::of({"one"}, {}, false));
  request.allHTTPHeaderFields.set("Expect", "100-continue");

  const Loaded loaded = load(request);

  EXPECT_EQ(loaded.status(), 200) << loaded.message();
  EXPECT_EQ(server.requests().back().body, "one");
}

// Time and cancellation

TEST_F(UploadStreamTest, doesNotCountTheWaitForItsPiecesAsIdleTime) {
  NetworkTime time;
  server.enqueue(MockResponse(200).body("thanks"));
  const Expectation<void> isAsked;
  const Expectation<void> mayGoOn;
  const auto body = std::make_shared<MadeBody>([=](int, int piece) -> std::optional<Data> {
    if (piece == 2) return std::nullopt;
    if (piece == 1) {
      isAsked.fulfil();
      mayGoOn.wait();
    }
    return Data("piece ");
  });
  Load loading(session, requestWith(body));
  loading.resume();
  isAsked.wait();
  ASSERT_TRUE(server.waitUntil([&] { return server.bodyBytesReceived() == 6; }));

  time.pass(3600s);

  EXPECT_FALSE(loading.isDone());
  mayGoOn.fulfil();
  const Loaded loaded = loading.wait();
  EXPECT_EQ(loaded.body(), "thanks") << loaded.message();
  EXPECT_EQ(server.takeRequest().body, "piece piece ");
}

TEST_F(UploadStreamTest, countsTheWaitForTheServerAfterItsPieces) {
  NetworkTime time;
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, requestWith(MadeBody::of({"one", "two"})));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  time.pass(60s - 1ms);
  EXPECT_FALSE(loading.isDone());
  time.pass(1ms);

  EXPECT_EQ(loading.wait().code(), URLErrorCode::timedOut);
}

TEST_F(UploadStreamTest, countsIdleTimeAgainOnceTheServerHasRefusedIt) {
  NetworkTime time;
  server.enqueue(MockResponse(413).body("0123456789").beforeRequestBody(5).stall(Moment::insideBody, 5));
  const Expectation<void> mayGoOn;
  const auto body = std::make_shared<MadeBody>([=](int, int piece) -> std::optional<Data> {
    if (piece == 1) mayGoOn.wait();
    return Data("piece");
  });
  Load loading(session, requestWith(body));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  time.pass(60s - 1ms);
  EXPECT_FALSE(loading.isDone());
  time.pass(1ms);

  EXPECT_EQ(loading.wait().code(), URLErrorCode::timedOut);
  mayGoOn.fulfil();
  EXPECT_TRUE(server.waitUntilAllClosed());
  server.takeFailures();
}

TEST_F(UploadStreamTest, isInterruptedAndDestroyedWhenItsTaskIsCancelled) {
  const Expectation<void> isAsked;
  const Expectation<void> mayGoOn;
  const auto body = std::make_shared<MadeBody>([=](int, int) -> std::optional<Data> {
    isAsked.fulfil();
    mayGoOn.wait();
    return Data("late");
  });
  Load loading(session, requestWith(body));
  loading.resume();
  isAsked.wait();

  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  EXPECT_EQ(body->interruptions(), 1);
  mayGoOn.fulfil();
  EXPECT_TRUE(server.waitUntilAllClosed());
  server.takeFailures();
}

TEST_F(UploadStreamTest, tellsOfItsProgress) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(200));
  for (const auto length : {std::optional<std::uint64_t>(6), std::optional<std::uint64_t>()}) {
    PendingTask<Loaded> uploading([&](auto completion) {
      return session->uploadTask(requestWith(MadeBody::of({"one", "two"}, length)), std::move(completion));
    });
    const ProgressLog log(uploading.task());

    EXPECT_EQ(uploading.resume().wait().status(), 200);

    EXPECT_EQ(log.last().completed, 6);
    EXPECT_EQ(log.last().total, 6);
    EXPECT_EQ(log.last().fraction, 1);
  }
}

}  // namespace
}  // namespace platform
