#include <gtest/gtest.h>

#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"
#include "TransferFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::Ending;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

struct SendPhoto : FormDataUploadRequestable<SendPhoto, DataResponse> {
  URL url;
  std::string title;
  URL file;
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPFormData body() const { return {{"title", title}, {"photo", file}}; }
};

struct SendEncodedForm : FormDataUploadRequestable<SendEncodedForm, DataResponse> {
  URL url;
  HTTPFormData body;
  static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// A form in an ordinary request.
struct PutForm : DataPutRequestable<PutForm, HTTPFormData> {
  URL url;
  HTTPFormData body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct RetriedForm : FormDataUploadRequestable<RetriedForm, DataResponse>, HTTPRetryAttempting<RetriedForm> {
  URL url;
  HTTPFormData body;
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryLimit = 2;
  static constexpr std::int64_t retryDelta = 0;
  HTTPHeaders sharedHeaders() const { return {}; }
};

class FormDataUploadTest : public TransferTest {
 protected:
  URL file(std::string_view name, std::string_view content) const { return URL::file(files.write(name, content)); }
  static std::string formOf(std::string_view boundary, std::string_view title, std::string_view content) {
    const std::string line = "--" + std::string(boundary);
    return line + "\r\nContent-Disposition: form-data; name=\"title\"\r\n\r\n" + std::string(title) + "\r\n" + line +
           "\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"ada.png\"\r\nContent-Type: "
           "image/png\r\n\r\n" +
           std::string(content) + "\r\n" + line + "--\r\n";
  }
  static std::string boundaryOf(const testkit::ReceivedRequest& request) {
    const std::string type = request.header("Content-Type").value_or("");
    const std::string before = "multipart/form-data; boundary=";
    return type.starts_with(before) ? type.substr(before.size()) : "<none>";
  }

  testkit::TemporaryDirectory files;
};

TEST_F(FormDataUploadTest, sendsFilesWhileTheyAreRead) {
  server.enqueue(MockResponse(200));
  const std::string pixels(700'000, 'p');

  const auto response = responseTo(SendPhoto{.url = server.url("/"), .title = "Ada", .file = file("ada.png", pixels)});

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, formOf(boundaryOf(received), "Ada", pixels));
  EXPECT_EQ(received.header("Content-Length"), std::to_string(received.body.size()));
}

TEST_F(FormDataUploadTest, readsItsFilesAgainForARedirect) {
  server.enqueue(MockResponse(307).header("Location", "/there"));
  server.enqueue(MockResponse(200));

  const auto response =
      responseTo(SendPhoto{.url = server.url("/"), .title = "Ada", .file = file("ada.png", "pixels")});

  EXPECT_TRUE(response.result.isSuccess());
  const auto first = server.takeRequest();
  const auto second = server.takeRequest();
  EXPECT_EQ(first.body, formOf(boundaryOf(first), "Ada", "pixels"));
  EXPECT_EQ(second.body, first.body);
}

TEST_F(FormDataUploadTest, readsItsFilesAgainForARetry) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200));
  const RetriedForm request{.url = server.url("/"), .body = {{"title", "Ada"}, {"photo", file("ada.png", "pixels")}}};

  const auto result = request.sendAttemptingRetry().get();

  EXPECT_TRUE(result.lastResponse()->result.isSuccess());
  const std::string form = formOf(request.body.boundary(), "Ada", "pixels");
  EXPECT_EQ(server.takeRequest().body, form);
  EXPECT_EQ(server.takeRequest().body, form);
}

TEST_F(FormDataUploadTest, becomesAGetWithoutABody) {
  server.enqueue(MockResponse(303).header("Location", "/there"));
  server.enqueue(MockResponse(200));

  responseTo(SendPhoto{.url = server.url("/"), .title = "Ada", .file = file("ada.png", "pixels")});

  server.takeRequest();
  const auto second = server.takeRequest();
  EXPECT_EQ(second.method, "GET");
  EXPECT_FALSE(second.hasHeader("Content-Type"));
  EXPECT_EQ(second.bodySize, 0U);
}

TEST_F(FormDataUploadTest, sendsAFormOfValuesFromMemory) {
  server.enqueue(MockResponse(200));
  const PutForm request{.url = server.url("/"), .body = {{"a", "1"}}};

  const auto response = responseTo(request);

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, request.body.asData().text());
  EXPECT_EQ(received.header("Content-Type"), request.body.contentType().value());
  EXPECT_EQ(request.urlRequest().httpBody, request.body.asData());
}

TEST_F(FormDataUploadTest, failsWithAPartOfTheWrongLength) {
  const auto once = [](std::string text) {
    return [text = std::optional(Data(text))]() mutable { return std::exchange(text, std::nullopt); };
  };
  const HTTPFormData form{{"log", HTTPBodyProducer(once("of any length")), {.fileName = "a.log"}},
                          {"image", HTTPBodyProducer(once("short"), {.length = 10}), {.fileName = "a.png"}}};

  const auto response = responseTo(FormDataUploadRequest(server.url("/"), form, {.method = HTTPMethod::put}));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::requestBodyStreamExhausted);
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(FormDataUploadTest, sendsAFormWithAProducerInChunks) {
  server.enqueue(MockResponse(200));
  const HTTPBodyProducer lines([n = 0]() mutable { return n++ < 3 ? std::optional(Data("line\n")) : std::nullopt; });

  const auto response = responseTo(
      FormDataUploadRequest(server.url("/"), {{"log", lines, {.fileName = "a.log"}}}, {.method = HTTPMethod::put}));

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "PUT");
  EXPECT_TRUE(received.isChunked);
  EXPECT_NE(received.body.find("\r\n\r\nline\nline\nline\n\r\n--" + boundaryOf(received) + "--\r\n"),
            std::string::npos);
}

TEST_F(FormDataUploadTest, isCompressedOnItsWay) {
  server.enqueue(MockResponse(200));
  const HTTPFormData form{{"title", "Ada"}, {"photo", file("ada.png", std::string(100'000, 'p'))}};

  const auto response = responseTo(SendEncodedForm{.url = server.url("/"), .body = form});

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.header("Content-Encoding"), "gzip");
  EXPECT_TRUE(received.isChunked);
  EXPECT_LT(received.body.size(), 2000U);
  EXPECT_EQ(GZipUnarchiver(received.body).unzip().text(), formOf(form.boundary(), "Ada", std::string(100'000, 'p')));
}

TEST_F(FormDataUploadTest, tellsOfItsProgress) {
  server.enqueue(MockResponse(200));
  const FormDataUploadRequest request(server.url("/"), {{"photo", file("ada.png", "pixels")}});
  std::vector<HTTPProgress> told;

  const auto response = testkit::await<DataResponse>(
      [&](auto done) { request.send(queue, [&told](HTTPProgress progress) { told.push_back(progress); }, done); });

  EXPECT_TRUE(response.result.isSuccess());
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back().completedBytes(), static_cast<std::int64_t>(server.takeRequest().bodySize));
  EXPECT_EQ(told.back().percentCompleted(), 1);
}

TEST_F(FormDataUploadTest, failsForAFileThatIsNotThereAndSendsNothing) {
  const auto response = responseTo(FormDataUploadRequest(server.url("/"), {{"a", URL::file("/nonexistent/file")}}));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::fileDoesNotExist);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(FormDataUploadTest, isLostWithItsConnection) {
  server.enqueue(MockResponse(200).end(Ending::reset, Moment::insideRequestBody, 100));

  const auto response =
      responseTo(FormDataUploadRequest(server.url("/"), {{"a", file("a", std::string(32 << 20, 'x'))}}));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::networkConnectionLost);
}

TEST_F(FormDataUploadTest, isShownByItsSize) {
  const FormDataUploadRequest request("https://h/", {{"photo", file("ada.png", "pixels")}});

  EXPECT_TRUE(request.curlCommand().ends_with(" bytes, made while it is sent]")) << request.curlCommand();
}

}  // namespace
}  // namespace corvane
