#include <gtest/gtest.h>

#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"
#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"
#include "Corvane/Corvane.hpp"
#include "Corvane/Request/Detail/DefaultHeaders.hpp"
#include "Corvane/Request/UserAgent.hpp"
#include "Platform/Foundation/Locale.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

struct Get : DataGetRequestable<Get> {
  URL baseURL = "https://example.com";
  HTTPHeaders sharedHeaders;
  HTTPHeaders headers;
};

TEST(RequestCompositionTest, hasTheDefaultsOfAPlainRequest) {
  const Get request;

  const URLRequest composed = request.urlRequest();

  EXPECT_EQ(composed.httpMethod, "GET");
  EXPECT_EQ(composed.cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_EQ(composed.timeoutInterval, 60.0);
  EXPECT_FALSE(composed.httpBody);
  EXPECT_TRUE(request.shouldSend());
  EXPECT_FALSE(request.shouldWaitForConnectivity());
  EXPECT_FALSE(request.sessionConfigurationIdentifier());
}

TEST(RequestCompositionTest, startsWithFourFields) {
  const HTTPHeaderFields fields = Get().urlRequest().allHTTPHeaderFields;

  EXPECT_EQ(fields.count(), 4u);
  EXPECT_EQ(fields.value("Accept"), "*/*");
  EXPECT_EQ(fields.value("User-Agent"), userAgent());
  EXPECT_TRUE(fields.contains("Accept-Language"));
  EXPECT_EQ(fields.value("Accept-Encoding"), "gzip;q=1.0, compress;q=0.5");
}

TEST(RequestCompositionTest, letsHeadersWinOverSharedHeadersAndBothOverTheDefaults) {
  const Get request{.sharedHeaders = {{"User-Agent", "shared"}, {"X-A", "shared"}, {"X-B", 1}},
                    .headers = {{"Accept", "text/html"}, {"X-A", "own"}}};

  const HTTPHeaderFields fields = request.urlRequest().allHTTPHeaderFields;

  EXPECT_EQ(fields.value("Accept"), "text/html");
  EXPECT_EQ(fields.value("User-Agent"), "shared");
  EXPECT_EQ(fields.value("X-A"), "own");
  EXPECT_EQ(fields.value("X-B"), "1");
}

TEST(RequestCompositionTest, mergesNamesWithoutRegardToCaseAndKeepsTheLaterSpelling) {
  const Get request{.sharedHeaders = {{"X-Token", "a"}}, .headers = {{"accept", "text/html"}, {"x-token", "b"}}};

  const HTTPHeaderFields fields = request.urlRequest().allHTTPHeaderFields;

  EXPECT_EQ(fields.values("Accept"), std::vector<std::string>{"text/html"});
  EXPECT_EQ(fields.values("X-Token"), std::vector<std::string>{"b"});
  std::vector<std::string> names;
  for (const auto& field : fields) names.push_back(field.first);
  EXPECT_EQ(names, (std::vector<std::string>{"accept", "User-Agent", "Accept-Language", "Accept-Encoding", "x-token"}));
}

TEST(RequestCompositionTest, writesLanguagesWithFallingQuality) {
  EXPECT_EQ(detail::acceptLanguage({"en-US", "fr"}), "en-US;q=1.0, fr;q=0.9");
  EXPECT_EQ(detail::acceptLanguage({}), "");
}

TEST(RequestCompositionTest, writesAtMostSixLanguages) {
  EXPECT_EQ(detail::acceptLanguage({"a", "b", "c", "d", "e", "f", "g"}),
            "a;q=1.0, b;q=0.9, c;q=0.8, d;q=0.7, e;q=0.6, f;q=0.5");
}

TEST(RequestCompositionTest, asksForTheLanguagesThatArePreferredWhenItIsSent) {
  using platform::Locale;
  const Get request;

  Locale::setPreferredLanguages(std::vector<std::string>{"de"});
  const auto before = request.urlRequest().allHTTPHeaderFields.value("Accept-Language");
  Locale::setPreferredLanguages(std::vector<std::string>{"fr"});
  const auto after = request.urlRequest().allHTTPHeaderFields.value("Accept-Language");
  Locale::setPreferredLanguages(std::nullopt);

  EXPECT_EQ(before, "de;q=1.0");
  EXPECT_EQ(after, "fr;q=1.0");
}

/// Has bytes of its own in place of the encoded ones.
class SealingEncoder {
 public:
  explicit SealingEncoder(Data original) : original_(std::move(original)) {}
  HTTPContentEncodingType encodingType() const { return HTTPContentEncodingType("x-sealed"); }
  Data encodedData() const { return original_; }
  Data asData() const { return Data("sealed: " + original_.text()); }

 private:
  Data original_;
};

struct PostSealed : DataPostRequestable<PostSealed> {
  URL baseURL = "https://example.com";
  Data body = "letter";
  std::optional<HTTPContentEncoderType> contentEncoder = HTTPContentEncoderType::of<SealingEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(RequestCompositionTest, sendsWhatAnEncoderConvertsTo) {
  const URLRequest composed = PostSealed().urlRequest();

  EXPECT_EQ(composed.httpBody, Data("sealed: letter"));
  EXPECT_EQ(composed.allHTTPHeaderFields.value("Content-Encoding"), "x-sealed");
}

TEST(RequestCompositionTest, sharesTheDefaultsOfATypeUntilTheLanguagesChange) {
  using platform::Locale;
  Locale::setPreferredLanguages(std::vector<std::string>{"de"});
  const HTTPHeaderFields first = detail::defaultHeaders("text/html");
  const HTTPHeaderFields again = detail::defaultHeaders("text/html");
  const HTTPHeaderFields other = detail::defaultHeaders("text/css");
  Locale::setPreferredLanguages(std::vector<std::string>{"fr"});
  const HTTPHeaderFields later = detail::defaultHeaders("text/html");
  Locale::setPreferredLanguages(std::nullopt);

  EXPECT_EQ(first.value("Accept-Language"), "de;q=1.0");
  EXPECT_EQ(&*first.begin(), &*again.begin());
  EXPECT_EQ(other.value("Accept"), "text/css");
  EXPECT_EQ(later.value("Accept-Language"), "fr;q=1.0");
}

struct Accepting : DataGetRequestable<Accepting> {
  URL baseURL = "https://example.com";
  HTTPMediaType acceptType = HTTPMediaType::imageJPEG;
  HTTPHeaders sharedHeaders() const { return {}; }
  URLRequestCachePolicy cachePolicy() const { return URLRequestCachePolicy::reloadIgnoringLocalCacheData; }
  static constexpr int timeoutInterval = 5;
};

TEST(RequestCompositionTest, writesTheAcceptTypeTimeoutAndCachePolicy) {
  const URLRequest request = Accepting().urlRequest();

  EXPECT_EQ(request.allHTTPHeaderFields.value("Accept"), "application/jpeg");
  EXPECT_EQ(request.timeoutInterval, 5.0);
  EXPECT_EQ(request.cachePolicy, URLRequestCachePolicy::reloadIgnoringLocalCacheData);
}

struct Limited : DataGetRequestable<Limited> {
  URL baseURL = "https://example.com";
  int maximumBodyBytes = 1000;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(RequestCompositionTest, keepsTheLimitForTheResponseBody) {
  EXPECT_EQ(Limited().urlRequest().maximumBodyBytes, 1000);
  EXPECT_EQ(DataGetRequest("https://example.com").urlRequest().maximumBodyBytes, std::nullopt);
}

struct Post : DataPostRequestable<Post, std::string> {
  URL baseURL = "https://example.com";
  std::string body;
  HTTPHeaders headers;
  std::optional<HTTPContentEncoderType> contentEncoder;
  HTTPMediaType contentType() const { return HTTPMediaType::textPlain; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(RequestCompositionTest, setsTheContentTypeWhateverTheHeadersSay) {
  const URLRequest request = Post{.body = "hi", .headers = {{"content-type", "text/html"}}}.urlRequest();

  EXPECT_EQ(request.httpMethod, "POST");
  EXPECT_EQ(request.allHTTPHeaderFields.values("Content-Type"), std::vector<std::string>{"text/plain"});
  EXPECT_FALSE(request.allHTTPHeaderFields.contains("Content-Encoding"));
  EXPECT_EQ(request.httpBody, Data("hi"));
}

TEST(RequestCompositionTest, encodesTheBodyWithTheNamedEncoder) {
  const Post post{.body = "hello hello hello", .contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>()};

  const URLRequest request = post.urlRequest();

  EXPECT_EQ(request.allHTTPHeaderFields.value("Content-Encoding"), "gzip");
  ASSERT_TRUE(request.httpBody);
  EXPECT_NE(*request.httpBody, Data("hello hello hello"));
  EXPECT_EQ(GZipUnarchiver(*request.httpBody).unzip(), Data("hello hello hello"));
}

struct Unwritable {
  Data asData() const { throw Error("Test", 7, "no bytes"); }
};
struct PostUnwritable : DataPostRequestable<PostUnwritable, Unwritable> {
  URL baseURL = "https://example.com";
  Unwritable body;
  HTTPMediaType contentType = HTTPMediaType::json;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(RequestCompositionTest, passesOnWhatABodyThrows) {
  try {
    PostUnwritable().urlRequest();
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), 7);
  }
}

struct PostFile : DataPostRequestable<PostFile, URL> {
  URL baseURL = "https://example.com";
  URL body = "https://example.com/no-file";
  HTTPMediaType contentType = HTTPMediaType::textPlain;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(RequestCompositionTest, sendsTheBytesOfTheFileThatABodyNames) {
  const testkit::TemporaryDirectory directory;
  PostFile post;

  post.body = URL::file(directory.write("note.txt", "hello"));

  EXPECT_EQ(post.urlRequest().httpBody, Data("hello"));
  EXPECT_THROW(PostFile().urlRequest(), Error);
}

class FailingEncoder {
 public:
  explicit FailingEncoder(Data) {}
  HTTPContentEncodingType encodingType() const { return HTTPContentEncodingType("x"); }
  Data encodedData() const { throw Error("Test", 8, "no coding"); }
};

TEST(RequestCompositionTest, passesOnWhatAnEncoderThrows) {
  const Post post{.body = "x", .contentEncoder = HTTPContentEncoderType::of<FailingEncoder>()};

  EXPECT_THROW(post.urlRequest(), Error);
}

struct Adjusted : DataGetRequestable<Adjusted> {
  URL baseURL = "https://example.com";
  HTTPHeaders sharedHeaders() const { return {}; }
  URLRequest urlRequest() const {
    URLRequest request = generateRequest();
    request.httpMethod = "OPTIONS";
    return request;
  }
};

TEST(RequestCompositionTest, letsATypeAdjustItsURLRequest) { EXPECT_EQ(Adjusted().urlRequest().httpMethod, "OPTIONS"); }

struct ByMethod : HTTPRequestable<ByMethod, DataResponse> {
  HTTPMethod method = HTTPMethod::get;
  URL baseURL = "https://example.com";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(RequestCompositionTest, writesTheMethodOfTheType) {
  EXPECT_EQ((ByMethod{.method = HTTPMethod("PROPFIND")}.urlRequest().httpMethod), "PROPFIND");
  EXPECT_EQ(HTTPMethod::get.rawValue, "GET");
  EXPECT_EQ(HTTPMethod::post.rawValue, "POST");
  EXPECT_EQ(HTTPMethod::put.rawValue, "PUT");
  EXPECT_EQ(HTTPMethod::patch.rawValue, "PATCH");
  EXPECT_EQ(HTTPMethod::delete_.rawValue, "DELETE");
}

std::shared_ptr<const URLResponse> response(int status) {
  return std::make_shared<HTTPURLResponse>("https://example.com", status, "HTTP/1.1", HTTPHeaderFields());
}

TEST(RequestCompositionTest, acceptsTheStatuses200To206) {
  const Get request;
  const HTTPStatus acceptable[] = {
      HTTPStatus::success,   HTTPStatus::created,      HTTPStatus::accepted,      HTTPStatus::nonAuthoritativeInfo,
      HTTPStatus::noContent, HTTPStatus::resetContent, HTTPStatus::partialContent};

  for (const HTTPStatus status : acceptable) EXPECT_TRUE(request.isAcceptable(status)) << status.name();
  for (const int code : {100, 101, 207, 299, 300, 304, 404, 500, 505, 999})
    EXPECT_FALSE(request.isAcceptable(response(code).get())) << code;
  EXPECT_TRUE(request.isAcceptable(response(206).get()));
  EXPECT_FALSE(request.isAcceptable(HTTPStatus::unknown));
}

TEST(RequestCompositionTest, acceptsNoResponseThatIsAbsentOrNotHTTP) {
  const URLResponse file(URL("file:///tmp/x"), std::nullopt, 0, std::nullopt);

  EXPECT_FALSE(Get().isAcceptable(nullptr));
  EXPECT_FALSE(Get().isAcceptable(&file));
}

}  // namespace
}  // namespace corvane
