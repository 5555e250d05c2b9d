#include <gtest/gtest.h>

#include <filesystem>

#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"
#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"
#include "TransferFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::MockResponse;

class UploadTest : public TransferTest {
 protected:
  URL file(std::string_view name, std::string_view content) const { return URL::file(files.write(name, content)); }

  testkit::TemporaryDirectory files;
};

TEST_F(UploadTest, sendsBytesFromMemory) {
  server.enqueue(MockResponse(201).body("made"));

  const auto response = responseTo(DataUploadRequest(server.url("/"), "content"));

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(response.result.body()->text(), "made");
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "content");
  EXPECT_EQ(received.header("Content-Type"), "application/octet-stream");
  EXPECT_EQ(received.header("Content-Length"), "7");
  EXPECT_FALSE(received.hasHeader("Expect"));
}

TEST_F(UploadTest, sendsAFileWithTheTypeOfItsExtension) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(FileUploadRequest(server.url("/"), file("photo.jpeg", "pixels")));

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, "pixels");
  EXPECT_EQ(received.header("Content-Type"), "image/jpeg");
  EXPECT_EQ(received.header("Content-Length"), "6");
  EXPECT_FALSE(received.isChunked);
}

TEST_F(UploadTest, takesMethodTypeHeadersAndQueryByName) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(FileUploadRequest(server.url("/f"), file("x", "content"),
                                                     {.headers = {{"X-A", 1}},
                                                      .queryItems = {{"name", "x"}},
                                                      .method = HTTPMethod::put,
                                                      .contentType = HTTPMediaType::pdf}));

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "PUT");
  EXPECT_EQ(received.target, "/f?name=x");
  EXPECT_EQ(received.header("X-A"), "1");
  EXPECT_EQ(received.header("Content-Type"), "application/pdf");
}

struct EncodedUpload : UploadRequestable<EncodedUpload, DataResponse> {
  URL url;
  Data body = std::string(1000, 'a');
  static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(UploadTest, sendsTheEncodedBytesThatItsHeadersSpeakOf) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(EncodedUpload{.url = server.url("/")});

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.header("Content-Encoding"), "gzip");
  EXPECT_LT(received.body.size(), 100u);
  EXPECT_EQ(GZipUnarchiver(received.body).unzip().text(), std::string(1000, 'a'));
}

struct EncodedFileUpload : UploadRequestable<EncodedFileUpload, DataResponse, URL> {
  URL url;
  URL body;
  static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(UploadTest, refusesToEncodeAFile) {
  const URL source = file("log.txt", "content");

  const auto response = responseTo(EncodedFileUpload{.url = server.url("/"), .body = source});

  ASSERT_TRUE(response.result.error());
  ASSERT_TRUE(response.result.error()->as<HTTPUploadError>());
  EXPECT_EQ(*response.result.error()->as<HTTPUploadError>(), HTTPUploadError::fileCannotBeEncoded(source));
  EXPECT_NE(response.result.error()->message().find("log.txt cannot be uploaded with a content encoder"),
            std::string::npos);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(UploadTest, describesTheUploadOfAFileWithoutReadingItWhole) {
  const FileUploadRequest request(server.url("/"), file("photo.png", std::string(80, 'x')));

  const auto urlRequest = request.urlRequest();

  EXPECT_EQ(urlRequest.httpBody, std::nullopt);
  EXPECT_EQ(urlRequest.allHTTPHeaderFields.value("Content-Type"), "image/png");
  EXPECT_TRUE(request.curlCommand().ends_with(" -v  -d @" + request.body().fileSystemPath())) << request.curlCommand();
  EXPECT_TRUE(FileUploadRequest(server.url("/"), file("short.txt", "short")).curlCommand().ends_with(" -v  -d short"));
}

struct PathUpload : UploadRequestable<PathUpload, DataResponse, std::filesystem::path> {
  URL url;
  std::filesystem::path body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(UploadTest, sendsTheFileOfAPath) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(PathUpload{.url = server.url("/"), .body = files.write("a.json", "{}")});

  EXPECT_TRUE(response.result.isSuccess());
  EXPECT_EQ(server.takeRequest().header("Content-Type"), "application/json");
}

TEST_F(UploadTest, failsForAFileThatIsNotThere) {
  const auto response = responseTo(FileUploadRequest(server.url("/"), URL::file("/nonexistent/file")));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::fileDoesNotExist);
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(UploadTest, failsForAURLThatNamesNoFile) {
  const auto response = responseTo(FileUploadRequest(server.url("/"), "http://127.0.0.1/file"));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::unsupportedURL);
}

struct OwnRequestUpload : UploadRequestable<OwnRequestUpload, DataResponse> {
  URL url;
  Data body = "body";
  HTTPHeaders sharedHeaders() const { return {}; }
  URLRequest urlRequest() const {
    URLRequest request = generateRequest();
    if (putsBody) request.httpBody = "built";
    return request;
  }
  bool putsBody = true;
};

TEST_F(UploadTest, sendsTheBodyThatTheTypesOwnRequestBuiltElseItsBytes) {
  server.handleAll([](const auto&) { return MockResponse(200); });

  responseTo(OwnRequestUpload{.url = server.url("/")});
  responseTo(OwnRequestUpload{.url = server.url("/"), .putsBody = false});

  EXPECT_EQ(server.takeRequest().body, "built");
  EXPECT_EQ(server.takeRequest().body, "body");
}

TEST_F(UploadTest, tellsItsProgressAndEndsWithTheWhole) {
  server.discardBodies();
  server.handleAll([](const auto&) { return MockResponse(200); });
  const std::string content(20 << 20, 'x');
  std::vector<std::int64_t> counts;

  const auto response = await<DataResponse>([&](auto done) {
    FileUploadRequest(server.url("/"), file("big", content))
        .send(
            queue,
            [&](const HTTPProgress& progress) {
              EXPECT_EQ(progress.totalBytes(), static_cast<std::int64_t>(content.size()));
              counts.push_back(progress.completedBytes());
            },
            done);
  });

  ASSERT_TRUE(response.result.isSuccess());
  EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
  EXPECT_EQ(counts.back(), static_cast<std::int64_t>(content.size()));
  EXPECT_EQ(server.bodyBytesReceived(), content.size());
}

TEST_F(UploadTest, returnsAFutureWithProgress) {
  const testkit::Latch latch;
  server.enqueue(MockResponse(200).body("done").hold(testkit::Moment::beforeRequestBody, latch));
  testkit::Expectation<void> isTold;

  // More than a socket takes before the server reads.
  const auto upload = DataUploadRequest(server.url("/"), std::string(20'000'000, 'x')).send();
  upload.during(queue, [isTold](const HTTPProgress& progress) {
    if (progress.percentCompleted() == 1.0) isTold.fulfil();
  });
  latch.open();
  const auto response = upload.get();

  EXPECT_EQ(response.body.text(), "done");
  isTold.wait();
}

struct SendUser : UploadRequestable<SendUser, DataResponse, std::string> {
  URL url;
  std::string body;
  HTTPMediaType contentType = HTTPMediaType::textPlain;
  bool shouldSend = true;
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate() const {
    if (body.empty()) throw HTTPResponseError::noContent();
  }
};

TEST_F(UploadTest, judgesItselfBeforeAnythingIsSent) {
  server.enqueue(MockResponse(200));

  const auto refused = responseTo(SendUser{.url = server.url("/"), .body = ""});
  SendUser{.url = server.url("/"), .body = "x", .shouldSend = false}.send(queue, nullptr,
                                                                          [](auto) { FAIL() << "was sent"; });
  const auto sent = responseTo(SendUser{.url = server.url("/"), .body = "text"});

  EXPECT_EQ(*refused.result.error()->as<HTTPResponseError>(), HTTPResponseError::noContent());
  EXPECT_TRUE(sent.result.isSuccess());
  EXPECT_EQ(server.requestCount(), 1);
}

}  // namespace
}  // namespace corvane
