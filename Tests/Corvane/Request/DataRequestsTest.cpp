#include "Corvane/Request/DataRequests.hpp"

#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"

namespace corvane {
namespace {

TEST(DataRequestsTest, sendsAPlainGetWithNothingButAURL) {
  const DataGetRequest request{"https://example.com/users"};

  const URLRequest composed = request.urlRequest();

  EXPECT_EQ(composed.url, URL("https://example.com/users"));
  EXPECT_EQ(composed.httpMethod, "GET");
  EXPECT_EQ(composed.allHTTPHeaderFields.value("Accept"), "*/*");
  EXPECT_EQ(composed.allHTTPHeaderFields.count(), 4u);
  EXPECT_FALSE(composed.httpBody);
}

TEST(DataRequestsTest, reportsTheStoredURLAndSendsItWithItsQueryItems) {
  const DataGetRequest request{"https://example.com/users?old=1", {}, {{"b", 2}, {"a", 1}}};

  EXPECT_EQ(request.url(), URL("https://example.com/users?old=1"));
  EXPECT_EQ(request.createURL(), URL("https://example.com/users?b=2&a=1"));
  EXPECT_EQ(request.urlRequest().url, URL("https://example.com/users?b=2&a=1"));
}

TEST(DataRequestsTest, sendsTheStoredURLUntouchedWithoutQueryItems) {
  const DataGetRequest request{"https://example.com/a%2Fb/../c?x=%20#here"};

  EXPECT_EQ(request.urlRequest().url.absoluteString(), "https://example.com/a%2Fb/../c?x=%20#here");
}

TEST(DataRequestsTest, takesHeadersAndQueryItemsByName) {
  const DataGetRequest request{"https://example.com", {.queryItems = {{"page", 2}}}};
  const DataPostRequest post{"https://example.com", "x", {.headers = {{"X-A", "1"}}}};

  EXPECT_EQ(request.createURL(), URL("https://example.com?page=2"));
  EXPECT_EQ(post.urlRequest().allHTTPHeaderFields.value("X-A"), "1");
}

TEST(DataRequestsTest, refusesTheBareSlashAndNamesThePartsOfItsURL) {
  const DataGetRequest request{"/", {}, {{"a", 1}}};

  try {
    request.urlRequest();
    FAIL() << "no error";
  } catch (const HTTPRequestError& error) {
    EXPECT_EQ(error.message(), "Malformed URL: /a=1");
  }
}

template <class BodyType>
struct PostJSON : DataPostRequestable<PostJSON<BodyType>, BodyType> {
  BodyType body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(DataRequestsTest, sendsAJSONBodyAsSuch) {
  EXPECT_EQ(PostJSON<EmptyJSON>{.body = {}}.contentType(), HTTPMediaType::json);
  EXPECT_EQ(PostJSON<JSONReference>{.body = 7}.contentType(), HTTPMediaType::json);
}

TEST(DataRequestsTest, reportsItsProperties) {
  const DataGetRequest request{"https://example.com/users", {{"X-A", "1"}}};

  EXPECT_EQ(request.baseURL(), URL("/"));
  EXPECT_EQ(request.path(), "");
  EXPECT_EQ(request.headers(), (HTTPHeaders{{"X-A", "1"}}));
  EXPECT_TRUE(request.sharedHeaders().isEmpty());
  EXPECT_EQ(request.acceptType(), HTTPMediaType::any);
  EXPECT_EQ(request.cachePolicy(), URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_EQ(request.timeoutInterval(), 60.0);
  EXPECT_FALSE(request.sessionConfigurationIdentifier());
}

TEST(DataRequestsTest, reportsTheBaseOfARelativeURL) {
  const DataGetRequest request{URL("users", "https://example.com/api/")};

  EXPECT_EQ(request.baseURL(), URL("https://example.com/api/"));
  EXPECT_EQ(request.urlRequest().url.absoluteString(), "https://example.com/api/users");
}

template <class Request>
void expectBody(const Request& request, const std::string& method) {
  const URLRequest composed = request.urlRequest();
  EXPECT_EQ(composed.httpMethod, method);
  EXPECT_EQ(composed.httpBody, Data("bytes"));
  EXPECT_EQ(composed.allHTTPHeaderFields.value("Content-Type"), "application/octet-stream");
  EXPECT_FALSE(composed.allHTTPHeaderFields.contains("Content-Encoding"));
  EXPECT_EQ(composed.allHTTPHeaderFields.value("X-A"), "1");
  EXPECT_EQ(composed.url, URL("https://example.com?q=1"));
}

TEST(DataRequestsTest, sendBytesAsTheyAre) {
  const URL url = "https://example.com";
  const HTTPHeaders headers{{"X-A", "1"}};
  const HTTPQueryItems items{{"q", 1}};

  expectBody(DataPostRequest(url, "bytes", headers, items), "POST");
  expectBody(DataPutRequest(url, "bytes", headers, items), "PUT");
  expectBody(DataPatchRequest(url, "bytes", headers, items), "PATCH");
  expectBody(DataRequest(url, HTTPMethod("REPORT"), "bytes", headers, items), "REPORT");
}

TEST(DataRequestsTest, deleteHasNoBody) {
  const URLRequest request = DataDeleteRequest("https://example.com").urlRequest();

  EXPECT_EQ(request.httpMethod, "DELETE");
  EXPECT_FALSE(request.httpBody);
  EXPECT_FALSE(request.allHTTPHeaderFields.contains("Content-Type"));
}

TEST(DataRequestsTest, keepABodyWhateverTheMethod) {
  const DataRequest request{"https://example.com", HTTPMethod::get, "x"};

  EXPECT_EQ(request.urlRequest().httpMethod, "GET");
  EXPECT_EQ(request.urlRequest().httpBody, Data("x"));
  EXPECT_EQ(request.urlRequest().allHTTPHeaderFields.value("Content-Type"), "application/octet-stream");
}

TEST(DataRequestsTest, sendAnEmptyBodyWithItsContentType) {
  const URLRequest request = DataPostRequest("https://example.com", Data()).urlRequest();

  ASSERT_TRUE(request.httpBody);
  EXPECT_TRUE(request.httpBody->isEmpty());
  EXPECT_EQ(request.allHTTPHeaderFields.value("Content-Type"), "application/octet-stream");
}

TEST(DataRequestsTest, areValuesThatCanBeAssigned) {
  DataGetRequest request{"https://example.com/a"};

  request = DataGetRequest{"https://example.com/b"};

  EXPECT_EQ(request.url(), URL("https://example.com/b"));
}

}  // namespace
}  // namespace corvane
