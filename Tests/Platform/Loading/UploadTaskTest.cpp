#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "TestSupport/NetworkTime.hpp"
#include "TransferTest.hpp"

namespace platform {
namespace {

using corvane::testkit::generatedBytes;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;
using corvane::testkit::TestServer;
using ::testing::HasSubstr;

/// More than the buffers of any socket hold, so that a server that does not read holds the client up.
constexpr std::size_t muchMoreThanASocketHolds = 64 << 20;

class UploadTaskTest : public TransferTest {
 protected:
  URLRequest to(std::string target, std::string method = "POST") {
    return request(server.url(target), std::move(method));
  }
};

TEST_F(UploadTaskTest, sendsBytesOfAnyNumberFromMemoryAndFromAFileWithTheirLength) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(201).body("stored"); });
  for (const std::size_t size : {0u, 1u, 65'536u, 65'537u, 5u << 20}) {
    const std::string bytes = generatedBytes(size);
    for (const std::string method : {"POST", "PUT", "PATCH"}) {
      EXPECT_EQ(upload(to("/memory", method), Data(bytes)).body(), "stored");
      EXPECT_EQ(upload(to("/file", method), file("body", bytes)).body(), "stored");
      for (const char* target : {"/memory", "/file"}) {
        const ReceivedRequest received = server.takeRequest();
        EXPECT_EQ(received.target, target);
        EXPECT_EQ(received.method, method);
        EXPECT_EQ(received.header("Content-Length"), std::to_string(size));
        EXPECT_TRUE(received.body == bytes) << target << size;
        EXPECT_EQ(received.headers.size(), 2u) << received.head;  // with Host
      }
    }
  }
}

TEST_F(UploadTaskTest, sendsTheGivenBodyAndNotThatOfTheRequest) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200); });
  URLRequest both = to("/");
  both.httpBody = Data("in the request");

  upload(both, Data("given"));
  upload(both, file("body", "in the file"));

  EXPECT_EQ(server.takeRequest().body, "given");
  EXPECT_EQ(server.takeRequest().body, "in the file");
}

TEST_F(UploadTaskTest, leavesTheFileAsItIs) {
  server.enqueue(MockResponse(200));
  const URL source = file("body", "kept");

  upload(to("/"), source);

  EXPECT_EQ(files.read("body"), "kept");
}

TEST_F(UploadTaskTest, deliversAnyStatusWithItsBody) {
  server.enqueue(MockResponse(422).body("not this"));

  const Loaded loaded = upload(to("/"), file("body", "x"));

  EXPECT_FALSE(loaded.error) << loaded.message();
  EXPECT_EQ(loaded.status(), 422);
  EXPECT_EQ(loaded.body(), "not this");
}

TEST_F(UploadTaskTest, sendsManyFilesOverOneConnection) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200); });
  const URL source = file("body", generatedBytes(300'000));
  for (int i = 0; i < 5; ++i) upload(to("/"), source);

  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(UploadTaskTest, sendsSeveralFilesAtOnce) {
  server.handleAll([](const ReceivedRequest& received) { return MockResponse(200).body(received.body.substr(0, 1)); });
  std::vector<std::unique_ptr<Upload>> uploads;
  for (const char c : {'a', 'b', 'c', 'd'}) {
    const URL source = file(std::string(1, c), std::string(3 << 20, c));
    uploads.push_back(std::make_unique<Upload>(session, to("/"), source));
    uploads.back()->resume();
  }

  EXPECT_EQ(uploads[0]->wait().body(), "a");
  EXPECT_EQ(uploads[1]->wait().body(), "b");
  EXPECT_EQ(uploads[2]->wait().body(), "c");
  EXPECT_EQ(uploads[3]->wait().body(), "d");
}

TEST_F(UploadTaskTest, acceptsALengthThatIsRightAndRefusesOneThatIsWrong) {
  server.enqueue(MockResponse(200));
  URLRequest sized = to("/");
  sized.allHTTPHeaderFields.set("Content-Length", "5");

  EXPECT_EQ(upload(sized, file("right", "12345")).status(), 200);
  EXPECT_EQ(server.takeRequest().headerValues("Content-Length").size(), 1u);
  for (const char* wrong : {"1234", "123456", ""}) {
    const Loaded loaded = upload(sized, file("wrong", wrong));
    EXPECT_EQ(loaded.code(), URLErrorCode::badURL);
    EXPECT_THAT(loaded.message(), HasSubstr("\"Content-Length\" says \"5\""));
    EXPECT_EQ(upload(sized, Data(wrong)).code(), URLErrorCode::badURL);
  }
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(UploadTaskTest, refusesHEADWhichCannotCarryABody) {
  EXPECT_THAT(upload(to("/", "HEAD"), file("body", "x")).message(), HasSubstr("HEAD"));
  EXPECT_THAT(upload(to("/", "HEAD"), Data("x")).message(), HasSubstr("HEAD"));
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(UploadTaskTest, refusesToSendToAFile) {
  const URL target = file("target", "as it was");

  const Loaded fromMemory = upload(URLRequest(target), Data("x"));
  const Loaded fromFile = upload(URLRequest(target), file("source", "x"));

  EXPECT_EQ(fromMemory.code(), URLErrorCode::unsupportedURL);
  EXPECT_EQ(fromFile.code(), URLErrorCode::unsupportedURL);
  EXPECT_EQ(files.read("target"), "as it was");
}

TEST_F(UploadTaskTest, aRedirectThatKeepsTheMethodSendsTheFileAgain) {
  const std::string bytes = generatedBytes(3 << 20);
  TestServer other;
  for (const int status : {307, 308}) {
    for (const char* method : {"POST", "PUT"}) {
      for (const std::string& target : {server.url("/next"), other.url("/next")}) {
        TestServer& next = target == server.url("/next") ? server : other;
        server.enqueue(MockResponse(status).header("Location", target));
        next.enqueue(MockResponse(200).body("stored"));

        EXPECT_EQ(upload(to("/", method), file("body", bytes)).body(), "stored");

        EXPECT_TRUE(server.takeRequest().body == bytes);
        const ReceivedRequest second = next.takeRequest();
        EXPECT_EQ(second.method, method);
        EXPECT_EQ(second.target, "/next");
        EXPECT_TRUE(second.body == bytes);
      }
    }
  }
}

TEST_F(UploadTaskTest, aRedirectThatTurnsTheMethodIntoGETDropsTheFile) {
  for (const int status : {301, 302, 303}) {
    server.enqueue(MockResponse(status).header("Location", "/next"));
    server.enqueue(MockResponse(200).body("see this"));
    URLRequest typed = to("/");
    typed.allHTTPHeaderFields.set("Content-Type", "text/plain");

    EXPECT_EQ(upload(typed, file("body", "x")).body(), "see this");

    EXPECT_EQ(server.takeRequest().body, "x");
    const ReceivedRequest second = server.takeRequest();
    EXPECT_EQ(second.method, "GET");
    EXPECT_EQ(second.body, "");
    EXPECT_FALSE(second.hasHeader("Content-Length"));
    EXPECT_FALSE(second.hasHeader("Content-Type"));
  }
}

TEST_F(UploadTaskTest, aRedirectWhileTheFileIsBeingSentSendsItAgainFromItsStart) {
  const std::string bytes = generatedBytes(8 << 20);
  for (int round = 0; round < 20; ++round) {
    server.enqueue(
        MockResponse(307).header("Location", "/next").beforeRequestBody().dropConnection(Moment::afterResponse));
    server.enqueue(MockResponse(200).body("stored"));

    const Loaded loaded = upload(to("/", "PUT"), file("body", bytes));

    EXPECT_EQ(loaded.body(), "stored") << loaded.message();
    server.takeRequest();
    EXPECT_TRUE(server.takeRequest().body == bytes);
  }
}

TEST_F(UploadTaskTest, aKeptConnectionThatDiesBeforeTheResponseSendsAPUTAgainFromItsStart) {
  for (const std::size_t size : {10u, 100'000u, 3u << 20}) {
    const std::string bytes = generatedBytes(size);
    for (const bool fromMemory : {true, false}) {
      server.enqueue(MockResponse(200));
      load("/");
      server.takeRequest();
      server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
      server.enqueue(MockResponse(200).body("stored"));

      const Loaded loaded =
          fromMemory ? upload(to("/", "PUT"), Data(bytes)) : upload(to("/", "PUT"), file("body", bytes));

      EXPECT_EQ(loaded.body(), "stored") << size << loaded.message();
      EXPECT_TRUE(server.takeRequest().body == bytes);
      EXPECT_TRUE(server.takeRequest().body == bytes) << size;
    }
  }
}

TEST_F(UploadTaskTest, aKeptConnectionThatDiesInsideTheBodySendsAPUTAgainFromItsStart) {
  const std::string bytes = generatedBytes(8 << 20);
  for (int round = 0; round < 20; ++round) {
    server.enqueue(MockResponse(200));
    load("/");
    server.takeRequest();
    const auto part = static_cast<std::uint64_t>(round) * 100'000;
    server.enqueue(round % 2 == 0 ? MockResponse().resetConnection(Moment::insideRequestBody, part)
                                  : MockResponse().dropConnection(Moment::insideRequestBody, part));
    server.enqueue(MockResponse(200).body("stored"));

    const Loaded loaded =
        round % 4 < 2 ? upload(to("/", "PUT"), Data(bytes)) : upload(to("/", "PUT"), file("body", bytes));

    EXPECT_EQ(loaded.body(), "stored") << loaded.message();
    EXPECT_TRUE(server.takeRequest().body == bytes);
  }
}

TEST_F(UploadTaskTest, aKeptConnectionThatDiesInsideTheBodyDoesNotSendAPOSTAgain) {
  for (int round = 0; round < 10; ++round) {
    server.enqueue(MockResponse(200));
    load("/");
    server.enqueue(MockResponse().resetConnection(Moment::insideRequestBody, 100'000));
    EXPECT_EQ(upload(to("/"), file("body", generatedBytes(8 << 20))).code(), URLErrorCode::networkConnectionLost);
  }
  EXPECT_EQ(server.headCount(), 20);
}

TEST_F(UploadTaskTest, aKeptConnectionThatDiesBeforeTheResponseDoesNotSendAPOSTAgain) {
  server.enqueue(MockResponse(200));
  load("/");
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));

  const Loaded loaded = upload(to("/"), file("body", generatedBytes(100'000)));

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(UploadTaskTest, aConnectionThatDiesInsideTheBodyIsAnError) {
  for (int round = 0; round < 10; ++round) {
    server.enqueue(MockResponse().resetConnection(Moment::insideRequestBody, 1 << 20));
    EXPECT_EQ(upload(to("/"), file("body", generatedBytes(8 << 20))).code(), URLErrorCode::networkConnectionLost);
    server.enqueue(MockResponse().dropConnection(Moment::insideRequestBody, 1 << 20));
    EXPECT_EQ(upload(to("/"), Data(generatedBytes(8 << 20))).code(), URLErrorCode::networkConnectionLost);
  }
}

TEST_F(UploadTaskTest, cancelledBeforeItBeganSendsNothing) {
  Upload upload(session, to("/"), file("body", "x"));

  upload.cancel();

  EXPECT_EQ(upload.wait().code(), URLErrorCode::cancelled);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(UploadTaskTest, cancelledInsideTheBodyClosesTheConnection) {
  const Data bytes(generatedBytes(muchMoreThanASocketHolds));
  const URL source = file("body", bytes.text());
  for (const bool fromMemory : {true, false}) {
    const Latch latch;
    server.enqueue(MockResponse(200).hold(Moment::insideRequestBody, latch, 1));
    Upload upload = fromMemory ? Upload(session, to("/"), bytes) : Upload(session, to("/"), source);
    upload.resume();
    ASSERT_TRUE(server.waitForStall());

    upload.cancel();

    EXPECT_EQ(upload.wait().code(), URLErrorCode::cancelled);
    latch.open();  // the end of the stream comes after what was sent before
    EXPECT_TRUE(server.waitUntilAllClosed());
    EXPECT_EQ(server.requestCount(), 0);
  }
}

TEST_F(UploadTaskTest, cancelledAtAnyMomentCompletesOnce) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("stored"); });
  const URL source = file("body", generatedBytes(200'000));
  std::vector<std::unique_ptr<Upload>> uploads;
  for (int i = 0; i < 200; ++i) {
    auto& upload = *uploads.emplace_back(std::make_unique<Upload>(session, to("/"), source));
    upload.resume();
    // Busy work of growing length moves the moment of cancelling through the exchange.
    for (std::atomic<int> spin = 0; spin < i * 300; ++spin) {
    }
    upload.cancel();
  }

  for (const auto& upload : uploads) {
    const Loaded loaded = upload->wait();
    if (loaded.error) {
      EXPECT_EQ(loaded.code(), URLErrorCode::cancelled) << loaded.message();
    } else {
      EXPECT_EQ(loaded.body(), "stored");
    }
  }
  for (const auto& upload : uploads) EXPECT_EQ(upload->completions(), 1);
  for (const ReceivedRequest& received : server.requests()) EXPECT_EQ(received.bodySize, 200'000u);
}

/// Files that cannot be sent, or not as they were.
class UploadedFileTest : public UploadTaskTest {
 protected:
  Error errorOf(const URL& source) {
    Loaded loaded = upload(to("/"), source);
    EXPECT_TRUE(loaded.error);
    EXPECT_FALSE(loaded.response);
    EXPECT_EQ(server.connectionCount(), 0);
    return loaded.error.value_or(Error("none", 0, "no error"));
  }

  /// An upload of a file that is changed when the server has the first bytes and reads no more.
  template <class Change>
  Loaded uploadOfAFileThatIsChanged(Change change) {
    const Latch latch;
    const URL source = file("body", generatedBytes(muchMoreThanASocketHolds));
    server.discardBodies();
    server.enqueue(MockResponse(200).hold(Moment::insideRequestBody, latch, 1));
    Upload upload(session, to("/"), source);
    upload.resume();
    EXPECT_TRUE(server.waitForStall());
    change(source.fileSystemPath());
    latch.open();
    return upload.wait();
  }
};

TEST_F(UploadedFileTest, thatIsMissingIsAnErrorThatNamesIt) {
  const std::string path = files / "missing";

  const Error error = errorOf(URL::file(path));

  EXPECT_EQ(error.domain(), kCFErrorDomainCFNetwork);
  EXPECT_EQ(error.code(), URLErrorCode::fileDoesNotExist);
  EXPECT_EQ(error.message(), path + ": No such file or directory");
  EXPECT_EQ(error.userInfo().find(URLErrorKey::failingURL)->description(), server.url("/"));
  EXPECT_EQ(*error.userInfo().find(URLErrorKey::requestWasSent), AnyValue(false));
}

/// While it lives, root is a user to whom permissions apply: nobody.
class WithoutPrivileges {
 public:
  WithoutPrivileges() { EXPECT_TRUE(!isRoot_ || ::seteuid(nobody) == 0); }
  ~WithoutPrivileges() { EXPECT_TRUE(!isRoot_ || ::seteuid(0) == 0); }
  WithoutPrivileges(const WithoutPrivileges&) = delete;
  WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

 private:
  static constexpr uid_t nobody = 65534;
  const bool isRoot_ = ::geteuid() == 0;
};

TEST_F(UploadedFileTest, thatMayNotBeReadIsAnErrorThatNamesIt) {
  const URL source = file("secret", "x");
  ASSERT_EQ(::chmod(source.fileSystemPath().c_str(), 0), 0);
  const WithoutPrivileges withoutPrivileges;

  const Error error = errorOf(source);

  EXPECT_EQ(error.code(), URLErrorCode::noPermissionsToReadFile);
  EXPECT_THAT(error.message(), HasSubstr(source.fileSystemPath()));
}

TEST_F(UploadedFileTest, thatIsADirectoryIsAnErrorThatNamesIt) {
  const Error error = errorOf(URL::file(files.path().string()));

  EXPECT_EQ(error.code(), URLErrorCode::fileIsDirectory);
  EXPECT_EQ(error.message(), files.path().string() + ": Is a directory");
}

TEST_F(UploadedFileTest, thatIsAPipeIsAnErrorThatNamesItAndHoldsNobodyUp) {
  const std::string path = files / "pipe";
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);

  const Error error = errorOf(URL::file(path));

  EXPECT_EQ(error.code(), URLErrorCode::resourceUnavailable);
  EXPECT_EQ(error.message(), path + ": is not a regular file");
}

TEST_F(UploadedFileTest, thatIsADeviceIsAnError) {
  EXPECT_EQ(errorOf(URL("file:///dev/zero")).code(), URLErrorCode::resourceUnavailable);
}

TEST_F(UploadedFileTest, thatDoesNotKnowItsLengthIsAnError) {
  EXPECT_EQ(errorOf(URL("file:///proc/self/status")).code(), URLErrorCode::resourceUnavailable);
}

TEST_F(UploadedFileTest, thatIsNotOneIsAnError) {
  EXPECT_EQ(errorOf(URL("http://127.0.0.1/file")).code(), URLErrorCode::unsupportedURL);
  EXPECT_EQ(errorOf(URL("relative")).code(), URLErrorCode::unsupportedURL);
}

TEST_F(UploadedFileTest, whoseNameHoldsANULIsNotTheFileWithTheNameBeforeIt) {
  const URL source = file("body", "x");

  EXPECT_EQ(errorOf(URL(source.absoluteString() + "%00.txt")).code(), URLErrorCode::fileDoesNotExist);
}

TEST_F(UploadedFileTest, behindASymbolicLinkIsSent) {
  file("body", "behind the link");
  std::filesystem::create_symlink(files / "body", files / "link");
  server.enqueue(MockResponse(200));

  EXPECT_EQ(upload(to("/"), URL::file((files / "link").string())).status(), 200);

  EXPECT_EQ(server.takeRequest().body, "behind the link");
}

TEST_F(UploadedFileTest, thatShrinksMeanwhileIsAnError) {
  const Loaded loaded =
      uploadOfAFileThatIsChanged([](const std::string& path) { ASSERT_EQ(::truncate(path.c_str(), 1000), 0); });

  EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted) << loaded.message();
  EXPECT_THAT(loaded.message(), HasSubstr((files / "body").string() + ": changed from 67108864 to 1000 bytes"));
  EXPECT_EQ(*loaded.error->userInfo().find(URLErrorKey::requestWasSent), AnyValue(true));
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(UploadedFileTest, thatLosesItsLastByteMeanwhileIsAnError) {
  const Loaded loaded = uploadOfAFileThatIsChanged(
      [](const std::string& path) { ASSERT_EQ(::truncate(path.c_str(), muchMoreThanASocketHolds - 1), 0); });

  EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted) << loaded.message();
  EXPECT_THAT(loaded.message(), HasSubstr("changed from 67108864 to 67108863 bytes"));
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(UploadedFileTest, thatGrowsMeanwhileIsAnError) {
  const Loaded loaded = uploadOfAFileThatIsChanged(
      [](const std::string& path) { ASSERT_EQ(::truncate(path.c_str(), muchMoreThanASocketHolds + 1), 0); });

  EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted) << loaded.message();
  EXPECT_THAT(loaded.message(), HasSubstr("changed from 67108864 to 67108865 bytes"));
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(UploadedFileTest, thatIsRemovedMeanwhileIsSentNevertheless) {
  const Loaded loaded =
      uploadOfAFileThatIsChanged([](const std::string& path) { ASSERT_EQ(::unlink(path.c_str()), 0); });

  EXPECT_EQ(loaded.status(), 200) << loaded.message();
  EXPECT_EQ(server.takeRequest().bodySize, muchMoreThanASocketHolds);
}

/// A permission that the request asks for before it sends its body.
class ExpectedPermissionTest : public UploadTaskTest {
 protected:
  URLRequest asking(std::string method = "POST") {
    URLRequest request = to("/", std::move(method));
    request.allHTTPHeaderFields.set("Expect", "100-continue");
    return request;
  }

  const std::string bytes = generatedBytes(300'000);
};

TEST_F(ExpectedPermissionTest, isNotAskedForByItself) {
  server.enqueue(MockResponse(200));

  upload(to("/"), file("body", generatedBytes(5 << 20)));

  EXPECT_FALSE(server.takeRequest().hasHeader("Expect"));
}

TEST_F(ExpectedPermissionTest, letsTheBodyGoWhenItIsGiven) {
  for (const bool fromMemory : {true, false}) {
    server.enqueue(MockResponse(200).body("stored"));

    const Loaded loaded = fromMemory ? upload(asking(), Data(bytes)) : upload(asking(), file("body", bytes));

    EXPECT_EQ(loaded.body(), "stored") << loaded.message();
    const ReceivedRequest received = server.takeRequest();
    EXPECT_EQ(received.header("Expect"), "100-continue");
    EXPECT_TRUE(received.body == bytes);
  }
}

TEST_F(ExpectedPermissionTest, isDoneWithoutWhenTheServerSaysNothing) {
  corvane::testkit::NetworkTime time;
  server.ignoreExpectContinue();
  server.enqueue(MockResponse(200).body("stored"));
  const int heads = server.headCount();
  Upload uploading(session, asking(), file("body", bytes));
  uploading.resume();
  ASSERT_TRUE(server.waitUntil([&] { return server.headCount() > heads; }));

  time.pass(std::chrono::seconds(1));

  EXPECT_EQ(uploading.wait().body(), "stored");
  EXPECT_TRUE(server.takeRequest().body == bytes);
}

TEST_F(ExpectedPermissionTest, isDoneWithoutWhenTheServerDoesNotKnowIt) {
  for (const char* method : {"POST", "PUT"}) {
    for (const bool fromMemory : {true, false}) {
      server.enqueue(MockResponse(417).body("what?").beforeRequestBody());
      server.enqueue(MockResponse(200).body("stored"));

      const Loaded loaded =
          fromMemory ? upload(asking(method), Data(bytes)) : upload(asking(method), file("body", bytes));

      EXPECT_EQ(loaded.body(), "stored") << loaded.message();
      EXPECT_EQ(server.takeRequest().header("Expect"), "100-continue");
      const ReceivedRequest second = server.takeRequest();
      EXPECT_FALSE(second.hasHeader("Expect"));
      EXPECT_EQ(second.method, method);
      EXPECT_TRUE(second.body == bytes);
    }
  }
}

TEST_F(ExpectedPermissionTest, thatIsNotKnownThoughNobodyAskedIsTheResponse) {
  server.enqueue(MockResponse(417).body("what?"));

  const Loaded loaded = upload(to("/"), file("body", bytes));

  EXPECT_EQ(loaded.status(), 417) << loaded.message();
  EXPECT_EQ(loaded.body(), "what?");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(ExpectedPermissionTest, thatIsRefusedTwiceIsTheResponse) {
  server.enqueue(MockResponse(417).body("what?").beforeRequestBody());
  server.enqueue(MockResponse(417).body("no means no"));

  const Loaded loaded = upload(asking(), file("body", bytes));

  EXPECT_EQ(loaded.status(), 417) << loaded.message();
  EXPECT_EQ(loaded.body(), "no means no");
}

TEST_F(ExpectedPermissionTest, thatIsDeniedSendsNoBody) {
  for (const int status : {401, 413, 500}) {
    for (const bool fromMemory : {true, false}) {
      server.enqueue(MockResponse(status).body("no").beforeRequestBody());

      const Loaded loaded = fromMemory ? upload(asking(), Data(bytes)) : upload(asking(), file("body", bytes));

      EXPECT_EQ(loaded.status(), status) << loaded.message();
      EXPECT_EQ(loaded.body(), "no");
    }
  }
  EXPECT_EQ(server.bodyBytesReceived(), 0u);
}

}  // namespace
}  // namespace platform
