#pragma once

#include <Corvane/Corvane.hpp>
#include <optional>
#include <string>
#include <vector>

#include "RetryOption.hpp"

struct CommandLine;

/// What the user asked for, checked and in the library's terms.
struct ToolOptions {
  /// At least one; with the query items of the command line after those of each URL as it was given.
  std::vector<corvane::URL> urls;
  corvane::HTTPMethod method;
  corvane::HTTPHeaders headers = {};
  std::optional<corvane::Data> body = std::nullopt;
  /// The file that `body` was read from, if it was.
  std::optional<std::string> bodyFile = std::nullopt;
  /// The file whose content is the body, read while it is sent.
  std::optional<corvane::URL> uploadedFile = std::nullopt;
  /// The body as a form; empty when it is none.
  std::vector<corvane::MultipartFormSection> formSections = {};
  corvane::HTTPMediaType contentType;
  /// What the response may be.
  corvane::HTTPMediaType acceptType = corvane::HTTPMediaType::any;
  bool compressesBody = false;
  double timeoutInSeconds;
  std::vector<corvane::URL> trustedCertificates = {};
  bool waitsForConnectivity = false;
  /// Redirects, proxy, credentials.
  corvane::HTTPClientConfiguration client = {};
  /// What `client` is to curl.
  std::string clientOptionsForCurl = {};
  std::vector<int> acceptedStatusCodes = {};
  /// Whether a redirect that is not followed counts as a success.
  bool acceptsRedirects = false;
  /// Where responses are saved under the names that they suggest.
  std::optional<std::string> downloadDirectory = std::nullopt;
  std::optional<std::string> outputFile = std::nullopt;
  /// Whether a body goes to the output file while it arrives; else it is kept in memory before.
  bool downloadsToOutput = false;
  /// Whether what an earlier one left is gone on with.
  bool continuesDownload = false;
  std::optional<corvane::SHA256Digest> expectedDigest = std::nullopt;
  /// Whether the status and the header fields of a response are printed before its body.
  bool printsHeads = false;
  bool printsBodiesAsTheyCame = false;
  corvane::HTTPVerbosityLevel verbosity;
  bool printsShellCommand = false;
  std::optional<double> cancelsAfterSeconds = std::nullopt;
  std::optional<RetryOption> retry = std::nullopt;
  std::optional<double> pollsEverySeconds = std::nullopt;
  /// How many polls there are; absent: until it is interrupted.
  std::optional<int> polls = std::nullopt;
  int repetitions = 1;
  /// At most so many at a time; a single URL is sent as often.
  int parallelRequests = 1;
  bool reportsJSON = false;
  /// Whether a timeline follows each response.
  bool printsTiming = false;

  bool hasSeveralURLs() const { return urls.size() > 1; }
  /// How many requests each repetition sends.
  int requestsOfARound() const { return hasSeveralURLs() ? static_cast<int>(urls.size()) : parallelRequests; }
  bool hasSeveralResponses() const { return pollsEverySeconds || repetitions > 1 || requestsOfARound() > 1; }
  /// Whether so much may move that a person wants to see how far it has come.
  bool isTransfer() const { return uploadedFile || isDownload() || !formSections.empty(); }
  /// Whether the body of the response goes to a file while it arrives.
  bool isDownload() const { return downloadDirectory || downloadsToOutput; }
  /// The output file of the exchange with that number. Requires: there is one.
  std::string outputPath(int number) const;
  /// Where the library saves it; absent where it chooses the place itself.
  std::optional<corvane::HTTPDownloadDestination> destination(int number) const;
  bool accepts(int statusCode) const;

  /// Reads the files that the command line names, but for those that are uploaded. Throws `UsageError`.
  static ToolOptions from(const CommandLine& line);
};
