#include "Corvane/Responses/DownloadResponse.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"
#include "Corvane/Responses/HTTPResponse.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Imaging/UIImage.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using platform::Data;
using platform::Error;
using platform::HTTPHeaderFields;
using platform::HTTPURLResponse;
using platform::URL;
using platform::URLResponse;
using std::filesystem::path;
using ::testing::HasSubstr;

struct User {
  std::int64_t id = 0;
  std::string login;
};

/// Made of three bytes and of nothing else.
class Colour {
 public:
  explicit Colour(const Data& data) : bytes(data) {
    if (data.count() != 3) throw std::invalid_argument("a colour has three bytes");
  }
  Data bytes;
};

/// Decides itself what to do with the file.
class Archive {
 public:
  explicit Archive(const URL& file) : place(file) {
    if (file.pathExtension() != "zip") throw Error("Archive", 3, "no archive");
  }
  URL place;
};

/// Could be made of either.
class Either {
 public:
  explicit Either(const URL&) {}
  explicit Either(const Data& data) : bytes(data) {}
  Data bytes;
};

static_assert(HTTPResponsable<DownloadResponse<URL>> && HTTPResponsable<DownloadResponse<path>>);
static_assert(HTTPResponsable<DownloadResponse<Data>> && HTTPResponsable<DownloadResponse<User>>);
static_assert(HTTPResponsable<DownloadResponse<Archive>>);
static_assert(HTTPResultable<DownloadResult<URL>>);
template <class Result>
concept HasURL = requires(const Result& result) { result.url(); };
template <class Response>
concept ShowsImage = requires(const Response& response) { response.image(); };
static_assert(HTTPResponsable<DownloadResponse<platform::UIImage>> && ShowsImage<HTTPResponse<platform::UIImage>>);
static_assert(!ShowsImage<HTTPResponse<URL>> && !ShowsImage<HTTPResponse<Data>>);
template <class Response>
concept ShowsFile = requires(const Response& response) { response.fileURL(); };
static_assert(ShowsFile<HTTPResponse<path>> && ShowsFile<HTTPResponse<Archive>> && ShowsFile<HTTPResponse<Data>>);
static_assert(!ShowsFile<HTTPResponse<int*>>);
static_assert(HasURL<DownloadResult<URL>> && !HasURL<DownloadResult<Data>> && !HasURL<DownloadResult<path>>);

const HTTPHeaderFields headers{{"Content-Type", "text/plain; charset=utf-8"}, {"Content-Length", "5"}};

std::shared_ptr<const HTTPURLResponse> httpResponse(int status) {
  return std::make_shared<HTTPURLResponse>("http://h/report.txt", status, "HTTP/1.1", headers);
}

template <class Held, class Body>
const Held* failure(const DownloadResponse<Body>& response) {
  return response.result.error() ? response.result.error()->template as<Held>() : nullptr;
}

class DownloadResponseTest : public ::testing::Test {
 protected:
  URL file(std::string_view bytes, std::string_view name = "file") const {
    return URL::file(directory.write(name, bytes));
  }
  URL missingFile() const { return URL::file((directory / "missing").string()); }
  URL sparseFile(std::uintmax_t size) const {
    const URL place = file("");
    std::filesystem::resize_file(place.fileSystemPath(), size);
    return place;
  }

  template <class Body>
  static DownloadResponse<Body> response(std::optional<URL> place,
                                         std::shared_ptr<const URLResponse> urlResponse = httpResponse(200),
                                         std::optional<Error> error = std::nullopt,
                                         std::optional<Data> data = std::nullopt) {
    return DownloadResponse<Body>(std::move(data), std::move(place), std::move(urlResponse), std::move(error));
  }

  const testkit::TemporaryDirectory directory;
};

TEST_F(DownloadResponseTest, keepsThePlaceOfTheFileWithoutReadingIt) {
  const URL place = missingFile();

  const auto byURL = response<URL>(place);
  const auto byPath = response<path>(place);

  ASSERT_TRUE(byURL.result.url());
  EXPECT_EQ(*byURL.result.url(), place);
  EXPECT_EQ(*byPath.result.body(), directory / "missing");
  EXPECT_EQ(byURL.data, std::nullopt);
  EXPECT_EQ(byPath.data, std::nullopt);
}

TEST_F(DownloadResponseTest, makesBodiesOfTheBytesInTheFile) {
  const auto text = response<std::string>(file("hello"));
  const auto bytes = response<Data>(file("hello"));
  const auto colour = response<Colour>(file("rgb"));
  const auto either = response<Either>(file("hello"));

  EXPECT_EQ(*text.result.body(), "hello");
  EXPECT_EQ(*bytes.result.body(), Data("hello"));
  EXPECT_EQ(colour.result.body()->bytes, Data("rgb"));
  EXPECT_EQ(either.result.body()->bytes, Data("hello"));
  EXPECT_EQ(text.data, std::nullopt);
  EXPECT_EQ(bytes.data, std::nullopt);
}

TEST_F(DownloadResponseTest, readsAnEmptyFileAsNoBytes) {
  const auto empty = response<Data>(file(""));

  ASSERT_TRUE(empty.result.body());
  EXPECT_TRUE(empty.result.body()->isEmpty());
}

TEST_F(DownloadResponseTest, decodesModelsFromTheFile) {
  const auto user = response<User>(file(R"({"id":7,"login":"ada"})"));

  ASSERT_TRUE(user.result.body());
  EXPECT_EQ(user.result.body()->login, "ada");
  EXPECT_EQ(user.data, std::nullopt);
}

TEST_F(DownloadResponseTest, handsTheFileToATypeThatTakesOne) {
  const URL place = URL::file((directory / "a.zip").string());

  const auto archive = response<Archive>(place);

  ASSERT_TRUE(archive.result.body());
  EXPECT_EQ(archive.result.body()->place, place);
}

TEST_F(DownloadResponseTest, copiesWhatThePlatformResponseSays) {
  const auto urlResponse = httpResponse(206);

  const auto result = response<Data>(file("hello"), urlResponse);

  EXPECT_EQ(result.headers, headers);
  EXPECT_EQ(result.status, HTTPStatus::partialContent);
  EXPECT_EQ(result.expectedContentLength, 5);
  EXPECT_EQ(result.suggestedFilename, "report.txt");
  EXPECT_EQ(result.mimeType, "text/plain");
  EXPECT_EQ(result.textEncodingName, "utf-8");
  EXPECT_EQ(result.url, URL("http://h/report.txt"));
  EXPECT_EQ(result.urlResponse, urlResponse);
}

TEST_F(DownloadResponseTest, countsEveryStatusFrom200To206AsSuccess) {
  const URL place = file("hello");

  for (int status = 100; status < 600; ++status) {
    const auto result = response<Data>(place, httpResponse(status));
    EXPECT_EQ(result.result.isSuccess(), status >= 200 && status <= 206) << status;
    EXPECT_EQ(result.result.body() != nullptr, result.result.isSuccess() && status != 204) << status;
  }
}

TEST_F(DownloadResponseTest, succeedsWithoutABodyForNoContentAndDoesNotOpenTheFile) {
  const auto bytes = response<Data>(missingFile(), httpResponse(204), std::nullopt, Data("received"));
  const auto place = response<URL>(file("hello"), httpResponse(204));

  EXPECT_TRUE(bytes.result.isSuccess());
  EXPECT_EQ(bytes.result.body(), nullptr);
  EXPECT_EQ(bytes.result.error(), nullptr);
  EXPECT_EQ(bytes.data, Data("received"));
  EXPECT_EQ(bytes.status, HTTPStatus::noContent);
  EXPECT_TRUE(place.result.isSuccess());
  EXPECT_EQ(place.result.url(), nullptr);
}

TEST_F(DownloadResponseTest, succeedsWithoutABodyWithoutAFile) {
  const auto result = response<Data>(std::nullopt, httpResponse(200), std::nullopt, Data("received"));

  EXPECT_TRUE(result.result.isSuccess());
  EXPECT_EQ(result.result.body(), nullptr);
  EXPECT_EQ(result.data, Data("received"));
  EXPECT_EQ(result.status, HTTPStatus::success);
}

TEST_F(DownloadResponseTest, failsForAnyOtherStatusAndKeepsTheHeaders) {
  const auto result = response<Data>(file("not here"), httpResponse(404), std::nullopt, Data("received"));

  ASSERT_TRUE(failure<HTTPResponseError>(result));
  EXPECT_EQ(*failure<HTTPResponseError>(result), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_EQ(result.result.body(), nullptr);
  EXPECT_EQ(result.status, HTTPStatus::notFound);
  EXPECT_EQ(result.headers, headers);
  EXPECT_EQ(result.data, Data("received"));
}

TEST_F(DownloadResponseTest, failsWithAnUnknownStatusForAnUnlistedCode) {
  const auto result = response<URL>(file("hello"), httpResponse(299));

  ASSERT_TRUE(failure<HTTPResponseError>(result));
  EXPECT_EQ(*failure<HTTPResponseError>(result), HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
  EXPECT_EQ(result.result.url(), nullptr);
}

TEST_F(DownloadResponseTest, putsTheTransportErrorBeforeAGoodStatus) {
  const auto result = response<Data>(file("hel"), httpResponse(200), Error("domain", 7, "lost"));

  ASSERT_TRUE(result.result.error());
  EXPECT_EQ(result.result.error()->domain(), "domain");
  EXPECT_EQ(result.result.error()->code(), 7);
  EXPECT_EQ(result.status, HTTPStatus::success);
}

TEST_F(DownloadResponseTest, keepsTheBytesThatMakeNoBody) {
  const auto colour = response<Colour>(file("four"));
  const auto user = response<User>(file(R"({"id":7})"));

  ASSERT_TRUE(failure<HTTPResponseError>(colour));
  EXPECT_EQ(*failure<HTTPResponseError>(colour), HTTPResponseError::malformedData<Colour>());
  EXPECT_EQ(colour.data, Data("four"));
  EXPECT_EQ(colour.status, HTTPStatus::success);
  ASSERT_TRUE(failure<HTTPResponseError>(user));
  EXPECT_EQ(*failure<HTTPResponseError>(user), HTTPResponseError::malformedData<User>());
  EXPECT_EQ(user.data, Data(R"({"id":7})"));
}

TEST_F(DownloadResponseTest, logsWhyTheBytesMakeNoBody) {
  corvane::testkit::LogCapture log;

  response<Colour>(file("four"));

  ASSERT_EQ(log->records().size(), 1u);
  const auto record = log->records().front();
  EXPECT_EQ(record.level, vantorel::LogLevel::debug);
  EXPECT_THAT(record.message, HasSubstr("Colour of a downloaded file: a colour has three bytes"));
  EXPECT_THAT(record.file, HasSubstr("DownloadResponse"));
}

TEST_F(DownloadResponseTest, failsWithTheErrorOfReading) {
  const auto result = response<Data>(missingFile(), httpResponse(200), std::nullopt, Data("received"));

  ASSERT_TRUE(result.result.error());
  EXPECT_EQ(result.result.error()->domain(), platform::NSCocoaErrorDomain);
  EXPECT_EQ(result.result.error()->code(), platform::CocoaErrorCode::fileReadNoSuchFile);
  EXPECT_THAT(result.result.error()->message(), HasSubstr((directory / "missing").string()));
  EXPECT_EQ(result.data, Data("received"));
  EXPECT_EQ(result.headers, headers);
}

TEST_F(DownloadResponseTest, failsWithWhatATypeSaysOfItsFile) {
  const auto result = response<Archive>(file("hello"));

  ASSERT_TRUE(result.result.error());
  EXPECT_EQ(result.result.error()->domain(), "Archive");
  EXPECT_EQ(result.status, HTTPStatus::success);
}

TEST_F(DownloadResponseTest, failsAtItsNamedPlaceWithoutErrorAndResponse) {
  const auto result = response<URL>(file("hello"), nullptr);

  const auto* const error = failure<HTTPUnknownError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPUnknownError::Case::downloadResponseFailedToConstruct);
  EXPECT_EQ(error->line(), 78);
  EXPECT_EQ(error->function(), "init(data:url:response:error:)");
  EXPECT_TRUE(error->file().ends_with("DownloadResponse.cpp"));
  EXPECT_FALSE(result.data || result.headers || result.expectedContentLength || result.suggestedFilename ||
               result.mimeType || result.textEncodingName || result.url || result.urlResponse);
}

TEST_F(DownloadResponseTest, failsForAResponseThatIsNotHTTP) {
  const auto local = std::make_shared<URLResponse>("file:///etc/motd", "text/plain", 12, std::nullopt);

  const auto result = response<Data>(file("hello"), local);

  ASSERT_TRUE(failure<HTTPUnknownError>(result));
  EXPECT_EQ(failure<HTTPUnknownError>(result)->which(), HTTPUnknownError::Case::downloadResponseFailedToConstruct);
  EXPECT_EQ(result.mimeType, "text/plain");
  EXPECT_EQ(result.expectedContentLength, 12);
  EXPECT_EQ(result.headers, std::nullopt);
  EXPECT_EQ(result.status, HTTPStatus::unknown);
}

TEST_F(DownloadResponseTest, isMadeOfAnErrorAndAResponse) {
  const DownloadResponse<URL> result(httpResponse(500), Data("oops"), HTTPResponseError::taskCancelled());

  ASSERT_TRUE(failure<HTTPResponseError>(result));
  EXPECT_EQ(failure<HTTPResponseError>(result)->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(result.status, HTTPStatus::internalServerError);
  EXPECT_EQ(result.data, Data("oops"));
}

TEST_F(DownloadResponseTest, isMadeOfAResultAndAResponse) {
  const DownloadResponse<Data> result(DownloadResult<Data>::success("made"), Data("received"), httpResponse(404));

  EXPECT_EQ(*result.result.body(), Data("made"));
  EXPECT_EQ(result.data, Data("received"));
  EXPECT_EQ(result.status, HTTPStatus::notFound);
}

TEST_F(DownloadResponseTest, isMadeOfItsFieldsWithoutAPlatformResponse) {
  const DownloadResponse<Data> result(
      DownloadResult<Data>::success("x"),
      {.status = HTTPStatus::accepted, .mimeType = "a/b", .urlResponse = httpResponse(202)});

  EXPECT_EQ(result.status, HTTPStatus::accepted);
  EXPECT_EQ(result.mimeType, "a/b");
  EXPECT_EQ(result.urlResponse, nullptr);
}

TEST_F(DownloadResponseTest, describesItselfByStatusAndHeaders) {
  const DownloadResponse<URL> result(httpResponse(404), std::nullopt, HTTPResponseError::noContent());

  EXPECT_EQ(result.debugDescription(),
            "    ·Type: corvane::DownloadResponse<platform::URL>\n    ·HTTP Status: notFound\n"
            "    ·Headers:\tContent-Type: text/plain; charset=utf-8\n\tContent-Length: 5\n");
}

TEST_F(DownloadResponseTest, isLongToMakeOfALargeFileThatIsRead) {
  const URL small = sparseFile(64 * 1024);
  EXPECT_FALSE(DownloadResponse<Data>::isLongToMake(std::nullopt, small));
  EXPECT_FALSE(DownloadResponse<Data>::isLongToMake(std::nullopt, std::nullopt));
  EXPECT_FALSE(DownloadResponse<Data>::isLongToMake(std::nullopt, missingFile()));

  const URL large = sparseFile(64 * 1024 + 1);
  EXPECT_TRUE(DownloadResponse<Data>::isLongToMake(std::nullopt, large));
  EXPECT_TRUE(DownloadResponse<User>::isLongToMake(std::nullopt, large));
  EXPECT_TRUE(DownloadResponse<Archive>::isLongToMake(std::nullopt, large));
  EXPECT_FALSE(DownloadResponse<URL>::isLongToMake(std::nullopt, large));
  EXPECT_FALSE(DownloadResponse<path>::isLongToMake(std::nullopt, large));
}

TEST_F(DownloadResponseTest, keepsTheFileOnlyWhereTheBodyIsMadeFromIt) {
  EXPECT_TRUE(response<URL>(file("hello")).keepsFile());
  EXPECT_TRUE(response<path>(file("hello")).keepsFile());
  EXPECT_TRUE(response<Archive>(file("hello", "a.zip")).keepsFile());

  EXPECT_FALSE(response<Data>(file("hello")).keepsFile());
  EXPECT_FALSE(response<Archive>(file("hello")).keepsFile());
  EXPECT_FALSE(response<URL>(file("hello"), httpResponse(204)).keepsFile());
  EXPECT_FALSE(response<URL>(file("hello"), httpResponse(404)).keepsFile());
  EXPECT_FALSE(response<URL>(file("hello"), httpResponse(200), Error("domain", 7, "lost")).keepsFile());
}

TEST_F(DownloadResponseTest, showsTheBodyInTheRecordOfSuccess) {
  const auto source = response<URL>(file("hello"));

  const HTTPResponse<URL> record(source, *source.result.url());

  EXPECT_EQ(&record.fileURL(), &record.body);
  EXPECT_EQ(record.fileURL(), *source.result.url());
  EXPECT_EQ(record.url, URL("http://h/report.txt"));
}

}  // namespace
}  // namespace corvane
