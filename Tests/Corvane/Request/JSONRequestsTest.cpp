#include "Corvane/Request/JSONRequests.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "Corvane/Corvane.hpp"

namespace corvane {
namespace {

using ::testing::HasSubstr;

struct User {
  std::int64_t id = 0;
  std::string login;
};
struct NewUser {
  std::string login;
};
struct Bad {
  double value = INFINITY;
};

struct GetUser : JSONGetRequestable<GetUser, User> {
  URL baseURL = "https://h/user";
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct DeleteUser : JSONDeleteRequestable<DeleteUser, EmptyJSON> {
  URL baseURL = "https://h/user";
  HTTPHeaders sharedHeaders() const { return {}; }
};
template <template <class, class, class> class Mixin>
struct Send : Mixin<Send<Mixin>, User, NewUser> {
  NewUser body{"ada"};
  URL baseURL = "https://h/user";
  HTTPHeaders sharedHeaders() const { return {}; }
};
/// Keeps bytes, but its body is a model.
struct Upload : DataPostRequestable<Upload, NewUser> {
  NewUser body{"ada"};
  URL baseURL = "https://h/user";
  HTTPHeaders sharedHeaders() const { return {}; }
};
/// Text as a JSON string, not as it stands.
struct Rename : JSONPutRequestable<Rename, User, std::string> {
  std::string body = "a \"b\"";
  URL baseURL = "https://h/user";
  HTTPHeaders sharedHeaders() const { return {}; }
};
/// The text of a URL, not the bytes of a file.
struct Move : JSONPutRequestable<Move, User, URL> {
  URL body = "file:///etc/hostname";
  URL baseURL = "https://h/user";
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Strategic {
  int firstValue = 1;
  static JSONEncoder encoder() { return JSONEncoder({.keys = JSONKeyStrategy::snakeCase}); }
};

std::string header(const URLRequest& request, const char* name) {
  return request.allHTTPHeaderFields.value(name).value_or("(absent)");
}

TEST(JSONRequestsTest, askForJSON) {
  const URLRequest request = JSONGetRequest<User>("https://h/user").urlRequest();

  EXPECT_EQ(request.httpMethod, "GET");
  EXPECT_EQ(header(request, "Accept"), "application/json");
  EXPECT_EQ(header(request, "Content-Type"), "(absent)");
  EXPECT_FALSE(request.httpBody);
}

TEST(JSONRequestsTest, deleteWithoutABody) {
  const URLRequest request = JSONDeleteRequest<EmptyJSON>("https://h/user").urlRequest();

  EXPECT_EQ(request.httpMethod, "DELETE");
  EXPECT_EQ(header(request, "Accept"), "application/json");
  EXPECT_FALSE(request.httpBody);
}

TEST(JSONRequestsTest, sendTheirBodyAsTheEncoderWritesIt) {
  const URLRequest request = JSONPostRequest<User>("https://h/user", NewUser{"ada"}).urlRequest();

  EXPECT_EQ(request.httpMethod, "POST");
  EXPECT_EQ(request.httpBody, JSONEncoder().encode(NewUser{"ada"}));
  EXPECT_EQ(request.httpBody, Data(R"({"login":"ada"})"));
  EXPECT_EQ(header(request, "Content-Type"), "application/json");
  EXPECT_EQ(header(request, "Accept"), "application/json");
  EXPECT_EQ(header(request, "Content-Encoding"), "(absent)");
}

TEST(JSONRequestsTest, haveTheirMethods) {
  EXPECT_EQ(JSONPutRequest<User>("https://h", 1).urlRequest().httpMethod, "PUT");
  EXPECT_EQ(JSONPatchRequest<User>("https://h", 1).urlRequest().httpMethod, "PATCH");
  EXPECT_EQ(JSONRequest<User>("https://h", HTTPMethod("QUERY"), 1).urlRequest().httpMethod, "QUERY");
  EXPECT_EQ(JSONRequest<User>("https://h", HTTPMethod::post, EmptyJSON()).urlRequest().httpBody, Data("{}"));
}

TEST(JSONRequestsTest, takeHeadersAndQueryItems) {
  const JSONGetRequest<User> get("https://h/user", {.headers = {{"X-A", 1}}, .queryItems = {{"page", 2}}});
  const JSONPostRequest<User> post("https://h/user", 7, HTTPHeaders{{"X-B", 1}}, {{"page", 3}});

  EXPECT_EQ(header(get.urlRequest(), "X-A"), "1");
  EXPECT_EQ(get.createURL(), URL("https://h/user?page=2"));
  EXPECT_EQ(header(post.urlRequest(), "X-B"), "1");
  EXPECT_EQ(post.createURL(), URL("https://h/user?page=3"));
}

TEST(JSONRequestsTest, reportWhatTheyStore) {
  const JSONPostRequest<User> request(URL("a", URL("https://h/user/")), NewUser{"ada"});

  EXPECT_EQ(request.url().absoluteString(), "https://h/user/a");
  EXPECT_EQ(request.baseURL(), URL("https://h/user/"));
  EXPECT_EQ(JSONGetRequest<User>("https://h/a").baseURL(), URL("/"));
  EXPECT_EQ(request.path(), "");
  EXPECT_TRUE(request.sharedHeaders().isEmpty());
  EXPECT_FALSE(request.contentEncoder());
  EXPECT_FALSE(request.sessionConfigurationIdentifier());
  EXPECT_EQ(request.body().as<NewUser>()->login, "ada");
}

TEST(JSONRequestsTest, refuseABodyThatCannotBeEncoded) {
  EXPECT_THROW(JSONPostRequest<User>("https://h/user", Bad()).urlRequest(), EncodingError);
}

TEST(JSONRequestsTest, showTheirBodyInTheirDescription) {
  const JSONPostRequest<User> request("https://h/user", NewUser{"ada"});

  EXPECT_EQ(request.debugDescription(), "curl -X POST 'https://h/user' -v  -d {\"login\":\"ada\"}");
  EXPECT_EQ(JSONGetRequest<User>("https://h/user").debugDescription(), "curl -X GET 'https://h/user' -v");
}

TEST(JSONRequestableTest, givesATypeItsMethodAndWhatItAccepts) {
  EXPECT_EQ(GetUser().urlRequest().httpMethod, "GET");
  EXPECT_EQ(header(GetUser().urlRequest(), "Accept"), "application/json");
  EXPECT_EQ(header(GetUser().urlRequest(), "Content-Type"), "(absent)");
  EXPECT_EQ(DeleteUser().urlRequest().httpMethod, "DELETE");
}

TEST(JSONRequestableTest, givesATypeTheTypeOfItsBody) {
  const URLRequest post = Send<JSONPostRequestable>().urlRequest();

  EXPECT_EQ(post.httpMethod, "POST");
  EXPECT_EQ(header(post, "Content-Type"), "application/json");
  EXPECT_EQ(post.httpBody, Data(R"({"login":"ada"})"));
  EXPECT_EQ(Send<JSONPutRequestable>().urlRequest().httpMethod, "PUT");
  EXPECT_EQ(Send<JSONPatchRequestable>().urlRequest().httpMethod, "PATCH");
}

TEST(JSONRequestableTest, writesTextAsAJSONString) { EXPECT_EQ(Rename().urlRequest().httpBody, Data(R"("a \"b\"")")); }

TEST(JSONRequestableTest, writesAURLAsAJSONString) {
  EXPECT_EQ(Move().urlRequest().httpBody, Data(R"("file:///etc/hostname")"));
  EXPECT_EQ(JSONPutRequest<User>("https://h", URL("file:///a")).urlRequest().httpBody, Data(R"("file:///a")"));
}

TEST(JSONRequestableTest, usesTheEncoderThatTheBodyNames) {
  struct Post : JSONPostRequestable<Post, User, Strategic> {
    Strategic body;
    URL baseURL = "https://h/user";
    HTTPHeaders sharedHeaders() const { return {}; }
  };

  EXPECT_EQ(Post().urlRequest().httpBody, Data(R"({"first_value":1})"));
}

TEST(JSONRequestableTest, writesAWrappedBodyWithTheSharedEncoder) {
  EXPECT_EQ(JSONPostRequest<User>("https://h", Strategic()).urlRequest().httpBody, Data(R"({"firstValue":1})"));
}

TEST(DataRequestableTest, sendsAModelAsJSON) {
  const URLRequest request = Upload().urlRequest();

  EXPECT_EQ(header(request, "Content-Type"), "application/json");
  EXPECT_EQ(header(request, "Accept"), "*/*");
  EXPECT_EQ(request.httpBody, Data(R"({"login":"ada"})"));
}

}  // namespace
}  // namespace corvane
