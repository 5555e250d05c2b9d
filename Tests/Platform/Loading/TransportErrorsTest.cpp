#include "Platform/Loading/Internal/TransportErrors.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {
namespace {

using testing::HasSubstr;

/// The names by which the documentation calls codes.
const std::map<std::string, std::int32_t>& codeNames() {
#define NAMED(name) {#name, URLErrorCode::name}
  static const std::map<std::string, std::int32_t> names = {NAMED(clientCertificateRequired),
                                                            NAMED(clientCertificateRejected),
                                                            NAMED(serverCertificateNotYetValid),
                                                            NAMED(serverCertificateHasUnknownRoot),
                                                            NAMED(serverCertificateUntrusted),
                                                            NAMED(serverCertificateHasBadDate),
                                                            NAMED(secureConnectionFailed),
                                                            NAMED(dataLengthExceedsMaximum),
                                                            NAMED(requestBodyStreamExhausted),
                                                            NAMED(cannotParseResponse),
                                                            NAMED(cannotDecodeRawData),
                                                            NAMED(cannotDecodeContentData),
                                                            NAMED(badServerResponse),
                                                            NAMED(redirectToNonExistentLocation),
                                                            NAMED(notConnectedToInternet),
                                                            NAMED(httpTooManyRedirects),
                                                            NAMED(dnsLookupFailed),
                                                            NAMED(networkConnectionLost),
                                                            NAMED(cannotConnectToHost),
                                                            NAMED(cannotFindHost),
                                                            NAMED(unsupportedURL),
                                                            NAMED(timedOut),
                                                            NAMED(badURL),
                                                            NAMED(cancelled),
                                                            NAMED(unknown),
                                                            NAMED(userCancelledAuthentication),
                                                            NAMED(cannotLoadFromNetwork),
                                                            NAMED(fileDoesNotExist),
                                                            NAMED(fileIsDirectory),
                                                            NAMED(noPermissionsToReadFile),
                                                            NAMED(resourceUnavailable)};
#undef NAMED
  return names;
}

struct Named {
  const char* name;
  CURLcode code;
};

/// Every code that an exchange over HTTP or HTTPS can end with.
const std::vector<Named>& httpCodes() {
#define NAMED(name) {#name, name}
  static const std::vector<Named> codes = {NAMED(CURLE_UNSUPPORTED_PROTOCOL),
                                           NAMED(CURLE_FAILED_INIT),
                                           NAMED(CURLE_URL_MALFORMAT),
                                           NAMED(CURLE_NOT_BUILT_IN),
                                           NAMED(CURLE_COULDNT_RESOLVE_PROXY),
                                           NAMED(CURLE_COULDNT_RESOLVE_HOST),
                                           NAMED(CURLE_COULDNT_CONNECT),
                                           NAMED(CURLE_WEIRD_SERVER_REPLY),
                                           NAMED(CURLE_HTTP2),
                                           NAMED(CURLE_PARTIAL_FILE),
                                           NAMED(CURLE_HTTP_RETURNED_ERROR),
                                           NAMED(CURLE_WRITE_ERROR),
                                           NAMED(CURLE_READ_ERROR),
                                           NAMED(CURLE_OUT_OF_MEMORY),
                                           NAMED(CURLE_OPERATION_TIMEDOUT),
                                           NAMED(CURLE_RANGE_ERROR),
                                           NAMED(CURLE_HTTP_POST_ERROR),
                                           NAMED(CURLE_SSL_CONNECT_ERROR),
                                           NAMED(CURLE_ABORTED_BY_CALLBACK),
                                           NAMED(CURLE_BAD_FUNCTION_ARGUMENT),
                                           NAMED(CURLE_INTERFACE_FAILED),
                                           NAMED(CURLE_TOO_MANY_REDIRECTS),
                                           NAMED(CURLE_UNKNOWN_OPTION),
                                           NAMED(CURLE_SETOPT_OPTION_SYNTAX),
                                           NAMED(CURLE_GOT_NOTHING),
                                           NAMED(CURLE_SSL_ENGINE_NOTFOUND),
                                           NAMED(CURLE_SSL_ENGINE_SETFAILED),
                                           NAMED(CURLE_SEND_ERROR),
                                           NAMED(CURLE_RECV_ERROR),
                                           NAMED(CURLE_SSL_CERTPROBLEM),
                                           NAMED(CURLE_SSL_CIPHER),
                                           NAMED(CURLE_PEER_FAILED_VERIFICATION),
                                           NAMED(CURLE_BAD_CONTENT_ENCODING),
                                           NAMED(CURLE_FILESIZE_EXCEEDED),
                                           NAMED(CURLE_USE_SSL_FAILED),
                                           NAMED(CURLE_SEND_FAIL_REWIND),
                                           NAMED(CURLE_SSL_ENGINE_INITFAILED),
                                           NAMED(CURLE_SSL_CACERT_BADFILE),
                                           NAMED(CURLE_SSL_SHUTDOWN_FAILED),
                                           NAMED(CURLE_AGAIN),
                                           NAMED(CURLE_SSL_CRL_BADFILE),
                                           NAMED(CURLE_SSL_ISSUER_ERROR),
                                           NAMED(CURLE_NO_CONNECTION_AVAILABLE),
                                           NAMED(CURLE_SSL_PINNEDPUBKEYNOTMATCH),
                                           NAMED(CURLE_SSL_INVALIDCERTSTATUS),
                                           NAMED(CURLE_HTTP2_STREAM),
                                           NAMED(CURLE_RECURSIVE_API_CALL),
                                           NAMED(CURLE_AUTH_ERROR),
                                           NAMED(CURLE_HTTP3),
                                           NAMED(CURLE_QUIC_CONNECT_ERROR),
                                           NAMED(CURLE_PROXY),
                                           NAMED(CURLE_SSL_CLIENTCERT),
                                           NAMED(CURLE_UNRECOVERABLE_POLL)};
#undef NAMED
  return codes;
}

CURLcode codeNamed(const std::string& name) {
  for (const Named& one : httpCodes()) {
    if (name == one.name) return one.code;
  }
  ADD_FAILURE() << "the documentation names " << name;
  return CURLE_OK;
}

/// The file of the checkout that this test was built in.
std::filesystem::path documentation() {
  const std::filesystem::path relative = "Docs/ErrorMapping.md";
  for (auto start : {std::filesystem::canonical("/proc/self/exe"), std::filesystem::absolute(__FILE__)}) {
    for (; start.has_relative_path(); start = start.parent_path()) {
      if (std::filesystem::exists(start.parent_path() / relative)) return start.parent_path() / relative;
    }
  }
  return relative;
}

using Row = std::vector<std::string>;

/// The rows of the table after a heading, without their back-quotes.
std::vector<Row> rowsBelow(const std::string& heading) {
  std::ifstream file(documentation());
  EXPECT_TRUE(file) << "there is no " << documentation();
  std::vector<Row> rows;
  bool isBelow = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("## ")) isBelow = line == "## " + heading;
    if (!isBelow || !line.starts_with("| ") || line.starts_with("|--")) continue;
    line.erase(std::remove(line.begin(), line.end(), '`'), line.end());
    Row row;
    for (std::size_t at = 2; at < line.size();) {
      const std::size_t bar = line.find(" |", at);
      row.push_back(line.substr(at, bar - at));
      at = bar + 3;
    }
    rows.push_back(std::move(row));
  }
  if (!rows.empty()) rows.erase(rows.begin());  // the heads of the columns
  return rows;
}

/// "-1001 timedOut", the number being that of the name.
std::int32_t documentedCode(const std::string& cell) {
  const std::string name = cell.substr(cell.find(' ') + 1);
  const auto known = codeNames().find(name);
  EXPECT_NE(known, codeNames().end()) << name;
  if (known == codeNames().end()) return 0;
  EXPECT_EQ(cell, std::to_string(known->second) + " " + name);
  return known->second;
}

std::int32_t mapped(CURLcode code) { return urlErrorCode(TransportFailure{.code = code}); }

TEST(TransportErrorsTest, mapsEveryCodeAsTheDocumentationSays) {
  const auto rows = rowsBelow("What libcurl reports");
  ASSERT_EQ(rows.size(), httpCodes().size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i].size(), 4U);
    EXPECT_EQ(rows[i][0], std::to_string(static_cast<int>(httpCodes()[i].code)));
    EXPECT_EQ(rows[i][1], httpCodes()[i].name);
    EXPECT_EQ(documentedCode(rows[i][2]), mapped(httpCodes()[i].code)) << rows[i][1];
  }
}

TEST(TransportErrorsTest, takesEveryOtherCodeForUnknown) {
  for (int number = 1; number < CURL_LAST; ++number) {
    const auto code = static_cast<CURLcode>(number);
    const bool isListed =
        std::any_of(httpCodes().begin(), httpCodes().end(), [&](const Named& one) { return one.code == code; });
    EXPECT_TRUE(isListed || mapped(code) == URLErrorCode::unknown) << number;
  }
}

TEST(TransportErrorsTest, refinesTheCodeAsTheDocumentationSays) {
  const std::map<std::string, TransportFailure> circumstances = {
      {"the machine has no network", {.isOffline = true}}, {"EAI_AGAIN", {.systemError = EAI_AGAIN}},
      {"ENETUNREACH", {.systemError = ENETUNREACH}},       {"ENETDOWN", {.systemError = ENETDOWN}},
      {"ETIMEDOUT", {.systemError = ETIMEDOUT}},           {"during the TLS handshake", {.isSecuring = true}}};
  const auto rows = rowsBelow("What else is known");
  ASSERT_EQ(rows.size(), 10U);
  for (const Row& row : rows) {
    ASSERT_EQ(circumstances.count(row[1]), 1U) << row[1];
    TransportFailure failure = circumstances.at(row[1]);
    failure.code = codeNamed(row[0]);
    EXPECT_EQ(documentedCode(row[2]), urlErrorCode(failure)) << row[0] << ", " << row[1];
    EXPECT_NE(urlErrorCode(failure), mapped(failure.code)) << "the row says nothing new";
  }
}

TEST(TransportErrorsTest, mapsWhyAServerIsNotTrustedAsTheDocumentationSays) {
  const std::map<std::string, SecTrustProblem> problems = {{"expired", SecTrustProblem::expired},
                                                           {"notYetValid", SecTrustProblem::notYetValid},
                                                           {"unknownRoot", SecTrustProblem::unknownRoot},
                                                           {"hostMismatch", SecTrustProblem::hostMismatch},
                                                           {"other", SecTrustProblem::other}};
  const auto rows = rowsBelow("A server that is not trusted");
  ASSERT_EQ(rows.size(), problems.size());
  for (const Row& row : rows) {
    const SecTrustProblem problem = problems.at(row[0]);
    EXPECT_EQ(documentedCode(row[1]), urlErrorCode(problem)) << row[0];
    EXPECT_EQ(urlErrorCode(problem),
              urlErrorCode(TransportFailure{.code = CURLE_SSL_CONNECT_ERROR, .trustProblem = problem}));
  }
}

TEST(TransportErrorsTest, documentsWhatIsFoundHereWithCodesThatExist) {
  const auto rows = rowsBelow("What the library finds itself");
  ASSERT_FALSE(rows.empty());
  for (const Row& row : rows) documentedCode(row[1]);
}

TEST(TransportErrorsTest, keepsTheRestOfTheWorldOutOfTheConnection) {
  TransportFailure refused{.code = CURLE_COULDNT_CONNECT, .systemError = ECONNREFUSED};
  TransportFailure unreachable{.code = CURLE_COULDNT_CONNECT, .systemError = EHOSTUNREACH};
  TransportFailure lostOffline{.code = CURLE_RECV_ERROR, .isOffline = true};

  EXPECT_EQ(urlErrorCode(refused), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(urlErrorCode(unreachable), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(urlErrorCode(lostOffline), URLErrorCode::networkConnectionLost);
}

TEST(TransportErrorsTest, saysWhatTheTransportSaid) {
  const TransportFailure failure{
      .code = CURLE_COULDNT_CONNECT, .text = "Failed to connect to h port 1", .systemError = ECONNREFUSED};

  const Error error = transportError(failure, URL("http://h:1/a"));

  EXPECT_EQ(error.domain(), "kCFErrorDomainCFNetwork");
  EXPECT_EQ(error.code(), -1004);
  EXPECT_EQ(error.message(), "Failed to connect to h port 1 (Connection refused)");
  EXPECT_EQ(error.userInfo().find("NSErrorFailingURLStringKey")->description(), "http://h:1/a");
  EXPECT_EQ(error.userInfo().find("CorvaneTransportCode")->integer(), 7);
  EXPECT_EQ(error.userInfo().find("CorvaneTransportMessage")->description(), "Failed to connect to h port 1");
  EXPECT_EQ(error.userInfo().find("CorvaneRequestWasSent")->boolean(), false);
}

TEST(TransportErrorsTest, fallsBackToTheNameOfTheFailure) {
  const Error error =
      transportError(TransportFailure{.code = CURLE_GOT_NOTHING, .requestWasSent = true}, URL("http://h/"));

  EXPECT_EQ(error.message(), curl_easy_strerror(CURLE_GOT_NOTHING));
  EXPECT_EQ(error.userInfo().find("CorvaneRequestWasSent")->boolean(), true);
}

TEST(TransportErrorsTest, makesErrorsOfWhatIsFoundHere) {
  const Error error =
      transportError(URLErrorCode::cannotParseResponse, "the status line is malformed", URL("http://h/"), true);

  EXPECT_EQ(error.domain(), "kCFErrorDomainCFNetwork");
  EXPECT_EQ(error.code(), -1017);
  EXPECT_EQ(error.message(), "the status line is malformed");
  EXPECT_EQ(error.userInfo().find("CorvaneTransportMessage")->description(), "the status line is malformed");
  EXPECT_EQ(error.userInfo().find("CorvaneTransportCode"), nullptr);
}

TEST(TransportErrorsTest, saysHowLongNothingMoved) {
  URLRequest request{URL("http://h/")};
  request.timeoutInterval = 0.25;

  const Error error = timeoutError(request, false);

  EXPECT_EQ(error.code(), -1001);
  EXPECT_EQ(error.message(), "nothing moved for 0.25 seconds");
}

TEST(TransportErrorsTest, tellsAMissingNetworkFromAHostThatRefuses) {
  const auto isMissing = [](CURLcode code, int systemError) {
    return isConnectivityFailure(TransportFailure{.code = code, .systemError = systemError});
  };
  for (const int unreachable : {ENETUNREACH, ENETDOWN, EHOSTUNREACH, EADDRNOTAVAIL}) {
    EXPECT_TRUE(isMissing(CURLE_COULDNT_CONNECT, unreachable)) << unreachable;
    EXPECT_FALSE(isMissing(CURLE_RECV_ERROR, unreachable)) << unreachable;
  }
  EXPECT_FALSE(isMissing(CURLE_COULDNT_CONNECT, ECONNREFUSED));
  EXPECT_FALSE(isMissing(CURLE_COULDNT_CONNECT, 0));
  EXPECT_FALSE(isMissing(CURLE_OPERATION_TIMEDOUT, 0));
}

TEST(TransportErrorsTest, doesNotBlameTheNetworkForThisMachine) {
  const TransportFailure down{.code = CURLE_COULDNT_CONNECT, .systemError = ENETUNREACH, .isLocal = true};

  EXPECT_EQ(urlErrorCode(down), URLErrorCode::cannotConnectToHost);
  EXPECT_TRUE(isConnectivityFailure(down)) << "the loopback interface may still come up";
}

TEST(TransportErrorsTest, looksForANetworkOnlyWhereThatMayExplainTheFailure) {
  EXPECT_FALSE(isOffline({.code = CURLE_COULDNT_CONNECT, .systemError = ENETUNREACH, .isLocal = true}));
  EXPECT_FALSE(isOffline({.code = CURLE_COULDNT_RESOLVE_HOST, .isLocal = true}));
  EXPECT_FALSE(isOffline({.code = CURLE_COULDNT_CONNECT, .systemError = ECONNREFUSED}));
  EXPECT_FALSE(isOffline({.code = CURLE_RECV_ERROR, .systemError = ECONNRESET}));
  EXPECT_FALSE(isOffline({.code = CURLE_COULDNT_CONNECT, .systemError = ENETUNREACH, .requestWasSent = true}));
}

TEST(TransportErrorsTest, tellsANameThatCannotBeAskedForFromOneThatDoesNotExist) {
  EXPECT_TRUE(isConnectivityFailure(TransportFailure{.code = CURLE_COULDNT_RESOLVE_HOST, .isOffline = true}));
  EXPECT_TRUE(isConnectivityFailure(TransportFailure{.code = CURLE_COULDNT_RESOLVE_HOST, .systemError = EAI_AGAIN}));
  EXPECT_FALSE(isConnectivityFailure(TransportFailure{.code = CURLE_COULDNT_RESOLVE_HOST}));
}

}  // namespace
}  // namespace platform::detail
