#pragma once

#include <optional>
#include <string>
#include <vector>

/// The words of the command line, sorted by what they are for. Numbers are in range, and enumerated words are
/// among those allowed; what the other texts mean is not judged here.
struct CommandLine {
  std::optional<std::string> method;
  std::string url;
  std::vector<std::string> furtherURLs;
  std::vector<std::string> headers;
  std::vector<std::string> queryItems;
  std::optional<std::string> bodyFile;
  std::optional<std::string> data;
  std::optional<std::string> json;
  std::optional<std::string> upload;
  std::vector<std::string> formSections;
  std::optional<std::string> contentType;
  bool gzip = false;
  double timeout = 60;
  /// "no", "same-origin", or a number from 0.
  std::optional<std::string> follow;
  /// With a password, or without.
  std::optional<std::string> user;
  /// "basic" or "digest".
  std::string authentication = "basic";
  std::optional<std::string> bearer;
  std::vector<std::string> cookies;
  std::optional<std::string> proxy;
  /// "basic" or "digest".
  std::string proxyAuthentication = "basic";
  std::vector<std::string> proxyExceptions;
  std::vector<std::string> trustedCertificates;
  bool waitForConnectivity = false;
  std::vector<int> acceptedStatuses;
  /// The directory; "." when none was named.
  std::optional<std::string> download;
  std::optional<std::string> output;
  bool continues = false;
  std::optional<std::string> digest;
  bool includesHead = false;
  bool asksForHead = false;
  bool raw = false;
  std::string verbosity = "none";
  bool curl = false;
  std::optional<double> cancelAfter;
  std::optional<std::string> retry;
  std::optional<double> poll;
  std::optional<int> count;
  int repeat = 1;
  bool serial = false;
  int parallel = 1;
  std::optional<std::string> report;
  bool timing = false;

  bool hasBody() const { return json || data || bodyFile || upload || !formSections.empty(); }
};

/// Absent when the user asked for help or the version, which has been printed then. Throws `UsageError`.
std::optional<CommandLine> parseCommandLine(int count, const char* const* arguments);
