#include "Platform/Loading/Internal/TransportErrors.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {
namespace {

using networking::FailureCause;

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
                                                            NAMED(resourceUnavailable),
                                                            NAMED(socksUnsupportedServerVersion),
                                                            NAMED(socks5BadState),
                                                            NAMED(socks5BadResponseAddress),
                                                            NAMED(socks5BadCredentials),
                                                            NAMED(socks5UnsupportedNegotiationMethod),
                                                            NAMED(socks5NoAcceptableMethod),
                                                            NAMED(httpBadProxyCredentials),
                                                            NAMED(httpsProxyConnectionFailure),
                                                            NAMED(httpsProxyUnexpectedResponse)};
#undef NAMED
  return names;
}

struct Named {
  const char* name;
  FailureCause cause;
};

const std::vector<Named>& causes() {
#define NAMED(name) {#name, FailureCause::name}
  static const std::vector<Named> all = {NAMED(invalidRequest),
                                         NAMED(nameNotFound),
                                         NAMED(nameLookupFailed),
                                         NAMED(cannotConnect),
                                         NAMED(outOfDescriptors),
                                         NAMED(secureConnectionFailed),
                                         NAMED(serverNotTrusted),
                                         NAMED(clientCertificateRequired),
                                         NAMED(clientCertificateRejected),
                                         NAMED(connectionLost),
                                         NAMED(malformedResponse),
                                         NAMED(notProcessed),
                                         NAMED(requestBody),
                                         NAMED(tunnelRefused),
                                         NAMED(tunnelUnavailable),
                                         NAMED(tunnelLost),
                                         NAMED(proxyCredentialsRefused),
                                         NAMED(socksVersion),
                                         NAMED(socksFailed),
                                         NAMED(socksAddress),
                                         NAMED(socksCredentialsRefused),
                                         NAMED(socksMethodUnknown),
                                         NAMED(socksMethod),
                                         NAMED(outOfMemory)};
#undef NAMED
  return all;
}

FailureCause causeNamed(const std::string& name) {
  for (const Named& one : causes()) {
    if (name == one.name) return one.cause;
  }
  ADD_FAILURE() << "the documentation names " << name;
  return FailureCause::connectionLost;
}

TransportFailure failureOf(FailureCause cause, int systemError = 0) {
  return {.reason = {.cause = cause, .message = "it failed", .systemError = systemError}};
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

std::int32_t mapped(FailureCause cause) { return urlErrorCode(failureOf(cause)); }

TEST(TransportErrorsTest, mapsEveryCauseAsTheDocumentationSays) {
  const auto rows = rowsBelow("What the network reports");
  ASSERT_EQ(rows.size(), causes().size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i].size(), 3U);
    EXPECT_EQ(rows[i][0], causes()[i].name);
    EXPECT_EQ(documentedCode(rows[i][1]), mapped(causes()[i].cause)) << rows[i][0];
  }
}

TEST(TransportErrorsTest, refinesTheCodeAsTheDocumentationSays) {
  const std::map<std::string, int> errors = {
      {"ENETUNREACH", ENETUNREACH}, {"ENETDOWN", ENETDOWN}, {"ETIMEDOUT", ETIMEDOUT}};
  const auto rows = rowsBelow("What else is known");
  ASSERT_EQ(rows.size(), 6U);
  for (const Row& row : rows) {
    TransportFailure failure = failureOf(causeNamed(row[0]));
    if (row[1] == "the machine has no network") {
      failure.isOffline = true;
    } else {
      ASSERT_EQ(errors.count(row[1]), 1U) << row[1];
      failure.reason.systemError = errors.at(row[1]);
    }
    EXPECT_EQ(documentedCode(row[2]), urlErrorCode(failure)) << row[0] << ", " << row[1];
    EXPECT_NE(urlErrorCode(failure), mapped(failure.reason.cause)) << "the row says nothing new";
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
  }
}

TEST(TransportErrorsTest, documentsWhatIsFoundHereWithCodesThatExist) {
  const auto rows = rowsBelow("What the library finds itself");
  ASSERT_FALSE(rows.empty());
  for (const Row& row : rows) documentedCode(row[1]);
}

TEST(TransportErrorsTest, keepsTheRestOfTheWorldOutOfTheConnection) {
  TransportFailure lostOffline = failureOf(FailureCause::connectionLost);
  lostOffline.isOffline = true;

  EXPECT_EQ(urlErrorCode(failureOf(FailureCause::cannotConnect, ECONNREFUSED)), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(urlErrorCode(failureOf(FailureCause::cannotConnect, EHOSTUNREACH)), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(urlErrorCode(lostOffline), URLErrorCode::networkConnectionLost);
}

TEST(TransportErrorsTest, tellsAProxyThatCannotBeReachedFromAHost) {
  using networking::Hop;
  const auto codeAt = [](Hop hop, FailureCause cause) {
    TransportFailure failure = failureOf(cause, ECONNREFUSED);
    failure.reason.hop = hop;
    return urlErrorCode(failure);
  };
  EXPECT_EQ(codeAt(Hop::forwardingProxy, FailureCause::cannotConnect), URLErrorCode::httpProxyConnectionFailure);
  EXPECT_EQ(codeAt(Hop::tunnellingProxy, FailureCause::nameNotFound), URLErrorCode::httpsProxyConnectionFailure);
  EXPECT_EQ(codeAt(Hop::socksProxy, FailureCause::cannotConnect), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(codeAt(Hop::tunnellingProxy, FailureCause::outOfMemory), URLErrorCode::unknown);
}

TEST(TransportErrorsTest, saysWhatTheNetworkSaid) {
  TransportFailure failure = failureOf(FailureCause::cannotConnect, ECONNREFUSED);
  failure.requestWasSent = true;

  const Error error = transportError(failure, URL("http://h:1/a"));

  EXPECT_EQ(error.domain(), "kCFErrorDomainCFNetwork");
  EXPECT_EQ(error.code(), -1004);
  EXPECT_EQ(error.message(), "it failed");
  EXPECT_EQ(error.userInfo().find("NSErrorFailingURLStringKey")->description(), "http://h:1/a");
  EXPECT_EQ(error.userInfo().find("CorvaneTransportCode")->integer(), ECONNREFUSED);
  EXPECT_EQ(error.userInfo().find("CorvaneTransportMessage")->description(), "it failed");
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
  EXPECT_EQ(error.message(), "nothing was sent or received for 0.25 seconds, before the request was sent");
  request.timeoutInterval = 1;
  EXPECT_EQ(timeoutError(request, true).message(), "nothing was sent or received for 1 second");
}

TEST(TransportErrorsTest, tellsAMissingNetworkFromAHostThatRefuses) {
  const auto isMissing = [](FailureCause cause, int systemError) {
    return isConnectivityFailure(failureOf(cause, systemError));
  };
  for (const int unreachable : {ENETUNREACH, ENETDOWN, EHOSTUNREACH, EADDRNOTAVAIL}) {
    EXPECT_TRUE(isMissing(FailureCause::cannotConnect, unreachable)) << unreachable;
    EXPECT_FALSE(isMissing(FailureCause::connectionLost, unreachable)) << unreachable;
  }
  EXPECT_FALSE(isMissing(FailureCause::cannotConnect, ECONNREFUSED));
  EXPECT_FALSE(isMissing(FailureCause::cannotConnect, 0));
  EXPECT_FALSE(isMissing(FailureCause::outOfDescriptors, EMFILE));
}

TEST(TransportErrorsTest, doesNotBlameTheNetworkForThisMachine) {
  TransportFailure down = failureOf(FailureCause::cannotConnect, ENETUNREACH);
  down.isLocal = true;

  EXPECT_EQ(urlErrorCode(down), URLErrorCode::cannotConnectToHost);
  EXPECT_TRUE(isConnectivityFailure(down)) << "the loopback interface may still come up";
}

TEST(TransportErrorsTest, looksForANetworkOnlyWhereThatMayExplainTheFailure) {
  const auto local = [](TransportFailure failure) {
    failure.isLocal = true;
    return failure;
  };
  TransportFailure sent = failureOf(FailureCause::cannotConnect, ENETUNREACH);
  sent.requestWasSent = true;

  EXPECT_FALSE(isOffline(local(failureOf(FailureCause::cannotConnect, ENETUNREACH))));
  EXPECT_FALSE(isOffline(local(failureOf(FailureCause::nameNotFound))));
  EXPECT_FALSE(isOffline(failureOf(FailureCause::cannotConnect, ECONNREFUSED)));
  EXPECT_FALSE(isOffline(failureOf(FailureCause::connectionLost, ECONNRESET)));
  EXPECT_FALSE(isOffline(sent));
}

TEST(TransportErrorsTest, tellsANameThatCannotBeAskedForFromOneThatDoesNotExist) {
  TransportFailure offline = failureOf(FailureCause::nameNotFound);
  offline.isOffline = true;

  EXPECT_TRUE(isConnectivityFailure(offline));
  EXPECT_TRUE(isConnectivityFailure(failureOf(FailureCause::nameLookupFailed)));
  EXPECT_FALSE(isConnectivityFailure(failureOf(FailureCause::nameNotFound)));
}

}  // namespace
}  // namespace platform::detail
