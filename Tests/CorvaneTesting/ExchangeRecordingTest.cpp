#include "CorvaneTesting/ExchangeRecording.hpp"

#include <gtest/gtest.h>

#include <string>

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane::testkit {
namespace {

using platform::Data;
using platform::Error;
using platform::FileManager;

class ExchangeRecordingTest : public ::testing::Test {
 protected:
  Error errorOfLoading(const std::string& content) const {
    FileManager::write(Data(content), path_);
    try {
      ExchangeRecording::load(path_);
    } catch (const Error& error) {
      return error;
    }
    return {"none", 0, "no error"};
  }
  /// The message without the path.
  std::string faultOf(const std::string& content) const {
    const Error error = errorOfLoading(content);
    EXPECT_EQ(error.domain(), "Corvane.ExchangeRecording");
    EXPECT_TRUE(error.message().starts_with(path_ + ": "));
    return error.message().substr(path_.size() + 2);
  }
  std::string faultOfExchange(const std::string& exchange) const {
    return faultOf(R"({"format": "corvane-exchanges", "version": 1,
      "redacted": {"headers": [], "queryItems": [], "urlCredentials": false}, "exchanges": [)" +
                   exchange + "]}");
  }

  const TemporaryDirectory folder_;
  const std::string path_ = (folder_ / "recording.json").string();
  const ExchangeRecording recording_{
      .exchanges = {{.method = "POST",
                     .url = "https://a.example/users?token=REDACTED",
                     .requestHeaders = {{"Accept", "*/*"}, {"Authorization", "REDACTED"}},
                     .requestBody = Data(R"({"name": "Ada"})"),
                     .status = 201,
                     .responseHeaders = {{"X-A", "1"}, {"X-A", "2"}, {"X-Empty", ""}},
                     .responseBody = Data("line 1\nL\xC3\xADnea 2\n")},
                    {.method = "GET",
                     .url = "https://a.example/picture",
                     .status = 200,
                     .responseBody = Data(std::string("\x00\xFF\x01", 3))},
                    {.method = "GET",
                     .url = "https://a.example/",
                     .error = Error("kCFErrorDomainCFNetwork", -1005, "lost")}},
      .redaction = {.headerFields = {"Authorization"}, .queryItems = {"token"}}};
};

TEST_F(ExchangeRecordingTest, isReadable) {
  recording_.save(path_);

  EXPECT_EQ(FileManager::contents(path_).text(), R"({
  "format": "corvane-exchanges",
  "version": 1,
  "redacted": {
    "headers": [
      "Authorization"
    ],
    "queryItems": [
      "token"
    ],
    "urlCredentials": false
  },
  "exchanges": [
    {
      "request": {
        "method": "POST",
        "url": "https://a.example/users?token=REDACTED",
        "headers": [
          "Accept: */*",
          "Authorization: REDACTED"
        ],
        "body": {
          "text": "{\"name\": \"Ada\"}"
        }
      },
      "response": {
        "status": 201,
        "headers": [
          "X-A: 1",
          "X-A: 2",
          "X-Empty: "
        ],
        "body": {
          "text": "line 1\nLínea 2\n"
        }
      }
    },
    {
      "request": {
        "method": "GET",
        "url": "https://a.example/picture",
        "headers": []
      },
      "response": {
        "status": 200,
        "headers": [],
        "body": {
          "base64": "AP8B"
        }
      }
    },
    {
      "request": {
        "method": "GET",
        "url": "https://a.example/",
        "headers": []
      },
      "error": {
        "domain": "kCFErrorDomainCFNetwork",
        "code": -1005,
        "message": "lost"
      }
    }
  ]
}
)");
}

TEST_F(ExchangeRecordingTest, isTheSameAfterwards) {
  recording_.save(path_);

  const ExchangeRecording loaded = ExchangeRecording::load(path_);

  EXPECT_EQ(loaded.redaction, recording_.redaction);
  ASSERT_EQ(loaded.exchanges.size(), recording_.exchanges.size());
  for (std::size_t place = 0; place < loaded.exchanges.size(); ++place) {
    const ExchangeRecord& left = loaded.exchanges[place];
    const ExchangeRecord& right = recording_.exchanges[place];
    EXPECT_EQ(left.method, right.method);
    EXPECT_EQ(left.url, right.url);
    EXPECT_EQ(left.requestHeaders, right.requestHeaders);
    EXPECT_EQ(left.requestBody, right.requestBody);
    EXPECT_EQ(left.status, right.status);
    EXPECT_EQ(left.responseHeaders, right.responseHeaders);
    EXPECT_EQ(left.responseBody, right.responseBody);
    EXPECT_EQ(left.error, right.error);
  }
}

TEST_F(ExchangeRecordingTest, keepsWhetherAFailedRequestWasSent) {
  for (const bool wasSent : {false, true}) {
    const Error error("kCFErrorDomainCFNetwork", -1004, "refused", {{platform::URLErrorKey::requestWasSent, wasSent}});
    ExchangeRecording{.exchanges = {{.method = "GET", .url = "https://a.example/", .error = error}}}.save(path_);

    const auto loaded = ExchangeRecording::load(path_);

    const auto userInfo = loaded.exchanges.at(0).error->userInfo();
    ASSERT_TRUE(userInfo.contains(platform::URLErrorKey::requestWasSent));
    EXPECT_EQ(userInfo.find(platform::URLErrorKey::requestWasSent)->boolean(), wasSent);
  }
}

TEST_F(ExchangeRecordingTest, takesTheStatusesThatServersSend) {
  ExchangeRecording recording{.exchanges = {{.method = "GET", .url = "https://a.example/", .status = 999}}};
  recording.save(path_);
  EXPECT_EQ(ExchangeRecording::load(path_).exchanges.at(0).status, 999);

  recording.exchanges[0].status = 1000;
  try {
    recording.save(path_);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), "Corvane.ExchangeRecording");
    EXPECT_EQ(error.message(), path_ + ": exchanges[0]: 1000 is no status");
  }
  EXPECT_EQ(ExchangeRecording::load(path_).exchanges.at(0).status, 999);
}

TEST_F(ExchangeRecordingTest, hasAVersion) {
  const Error error = errorOfLoading(R"({"format": "corvane-exchanges", "version": 2, "other": []})");

  EXPECT_EQ(error.code(), 2);
  EXPECT_EQ(error.message(), path_ + ": it has version 2 of the format, not 1");
}

TEST_F(ExchangeRecordingTest, saysWhatIsDamaged) {
  EXPECT_EQ(faultOf(R"({"format": "har", "version": 1})"), "it is no recording of exchanges");
  EXPECT_EQ(faultOf(R"({"format": "corvane-exchanges"})"), "the key \"version\" is missing");
  EXPECT_NE(faultOf("{\"format\": \"corvane-exch").find("byte"), std::string::npos);
  EXPECT_EQ(faultOfExchange(R"({"request": {"method": 1}})"),
            "exchanges[0].request.method: expected a string, found a number");
  EXPECT_EQ(faultOfExchange(R"({"request": {"method": "GET", "url": "https://a.example/", "headers": []}})"),
            R"(exchanges[0]: it has either a "response" or an "error")");
  EXPECT_EQ(faultOfExchange(R"({"request": {"method": "GET", "url": "https://a.example/", "headers": ["X"]},
                                "response": {"status": 200, "headers": []}})"),
            R"(exchanges[0]: "X" is not "Name: value")");
  EXPECT_EQ(faultOfExchange(R"({"request": {"method": "GET", "url": "https://a.example/", "headers": []},
                                "response": {"status": 20, "headers": []}})"),
            "exchanges[0]: 20 is no status");
  EXPECT_EQ(faultOfExchange(R"({"request": {"method": "GET", "url": "https://a.example/", "headers": []},
                                "response": {"status": 200, "headers": [], "body": {}}})"),
            R"(exchanges[0]: a body is either "text" or "base64")");
}

TEST_F(ExchangeRecordingTest, namesAFileThatIsNotThere) {
  try {
    ExchangeRecording::load(path_);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), platform::NSCocoaErrorDomain);
    EXPECT_NE(error.message().find(path_), std::string::npos);
  }
}

}  // namespace
}  // namespace corvane::testkit
