#include <gtest/gtest.h>

#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"
#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"
#include "Corvane/Transfers/BoundaryGenerator.hpp"
#include "TransferFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;

class MultipartUploadTest : public TransferTest {};

struct SendForm : MultipartUploadRequestable<SendForm, DataResponse> {
  URL url;
  std::vector<MultipartFormSection> body;
  HTTPHeaders headers;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct SendEncodedForm : MultipartUploadRequestable<SendEncodedForm, DataResponse> {
  URL url;
  std::vector<MultipartFormSection> body;
  static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

std::string plainField(const std::string& name, const std::string& value) {
  return "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value;
}

TEST_F(MultipartUploadTest, sendsTheFormThatItsRequestBuilt) {
  server.enqueue(MockResponse(200).body("ok"));
  const SendForm request{.url = server.url("/"), .body = {{"a", "x"}, {"b", "y"}}};

  const auto response = responseTo(request);

  ASSERT_TRUE(response.result.isSuccess());
  const std::string line = "--" + boundaryText() + "\r\n";
  const std::string expected =
      line + plainField("a", "x") + "\r\n" + line + plainField("b", "y") + "\r\n--" + boundaryText() + "--\r\n";
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, expected);
  EXPECT_EQ(request.urlRequest().httpBody->text(), expected);
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.header("Content-Type"), "multipart/form-data; boundary=" + boundaryText());
}

TEST_F(MultipartUploadTest, replacesAContentTypeOfTheHeaders) {
  const SendForm request{.url = "http://127.0.0.1/", .body = {}, .headers = {{"content-type", "text/plain"}}};

  const auto fields = request.urlRequest().allHTTPHeaderFields;

  EXPECT_EQ(fields.values("Content-Type"), std::vector<std::string>{"multipart/form-data; boundary=" + boundaryText()});
}

TEST_F(MultipartUploadTest, encodesTheFormWithoutSayingSo) {
  server.enqueue(MockResponse(200));
  const std::string value(1000, 'v');

  const auto response = responseTo(SendEncodedForm{.url = server.url("/"), .body = {{"a", value}}});

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_FALSE(received.hasHeader("Content-Encoding"));
  EXPECT_EQ(GZipUnarchiver(received.body).unzip().text(),
            "--" + boundaryText() + "\r\n" + plainField("a", value) + "\r\n--" + boundaryText() + "--\r\n");
}

TEST_F(MultipartUploadTest, failsForASectionThatCannotBeMadeAndSendsNothing) {
  const MultipartUploadRequest request(server.url("/"), {{"file", URL::file("/nonexistent/file")}});

  const auto response = responseTo(request);

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->domain(), platform::NSCocoaErrorDomain);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(MultipartUploadTest, sendsAReadyMadeRequest) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(MultipartUploadRequest(server.url("/"), {{"a", "x"}}, {.method = HTTPMethod::put}));

  EXPECT_TRUE(response.result.isSuccess());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "PUT");
  EXPECT_EQ(received.header("Content-Type"), "multipart/form-data; boundary=" + boundaryText());
}

TEST_F(MultipartUploadTest, sendsAnEmptyForm) {
  server.enqueue(MockResponse(200));

  const auto response = responseTo(SendForm{.url = server.url("/"), .body = {}});

  EXPECT_TRUE(response.result.isSuccess());
  EXPECT_EQ(server.takeRequest().body, "\r\n--" + boundaryText() + "--\r\n");
}

}  // namespace
}  // namespace corvane
