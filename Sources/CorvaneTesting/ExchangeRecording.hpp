#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Corvane/DebugOutput/HTTPRedaction.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane::testkit {

/// One request, and what came of it.
///
///     for (const ExchangeRecord& each : recording.exchanges) show(each.url, each.status);
struct ExchangeRecord {
  /// "GET".
  std::string method;
  /// The absolute URL, redacted or not.
  std::string url;
  /// Without the fields of the connection ("Host", "Content-Length").
  platform::HTTPHeaderFields requestHeaders;
  /// In its content coding.
  platform::Data requestBody;
  /// Of the response, from 200 to 999; 0 where there is an error.
  int status = 0;
  /// Without the fields that say how the body was transferred.
  platform::HTTPHeaderFields responseHeaders;
  /// Decoded. Empty for a response that was not read, as that of a redirect.
  platform::Data responseBody;
  /// Why there was no complete response. Of its user information only `URLErrorKey::requestWasSent` is kept.
  std::optional<platform::Error> error;
};

/// Exchanges that were recorded, to be replayed: see `MockNetwork::record` and `MockNetwork::replay`. A plain value.
///
/// In a file it is a JSON document that a person can read, compare and edit: bodies are text where they are UTF-8, and
/// base64 otherwise.
struct ExchangeRecording {
  /// The version of the file format.
  static constexpr int version = 1;

  /// In the order in which the requests were sent.
  std::vector<ExchangeRecord> exchanges;
  /// What was redacted, and is redacted in URLs before they are compared.
  HTTPRedaction redaction = HTTPRedaction::secrets();

  /// The recording in the file. Throws an `Error`: "NSCocoaErrorDomain" where the file cannot be read, and
  /// "Corvane.ExchangeRecording" with the path and the fault: 1 for a file that is damaged, 2 for another version.
  static ExchangeRecording load(const std::string& path);
  /// Creates or replaces the file, as a whole. Throws an `Error`: "NSCocoaErrorDomain" where it cannot be written, and
  /// "Corvane.ExchangeRecording" with code 1 for a status that no response can have; `EncodingError` for header fields
  /// that are not UTF-8.
  void save(const std::string& path) const;
};

}  // namespace corvane::testkit
