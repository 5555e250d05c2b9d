#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Corvane/DebugOutput/HTTPRedaction.hpp"
#include "Corvane/HTTPStatus.hpp"
#include "Corvane/HTTPVerbosityLevel.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane {

namespace detail {

/// The words of a command line that reproduces a request: method and URL, the request's own headers, "-v".
std::vector<std::string> curlCommandParts(const std::string& method, const platform::URL& url,
                                          const platform::Dictionary& headers, const HTTPRedaction& redaction = {});
/// The word that adds a body; absent bytes stand for a body that cannot be made.
std::string curlBodyPart(const std::optional<platform::Data>& body);
/// The word for a body that is sent from its file: the bytes where the file is short enough to be shown, and else the
/// file's path, which tells more than a copy in memory would.
std::string curlFilePart(const platform::URL& file);
std::string joinedWithSpaces(const std::vector<std::string>& parts);

/// What debug output says about one exchange.
struct DebugRecord {
  std::string method;
  platform::URL url;
  /// Empty unless the output is verbose.
  std::string curlCommand;
  HTTPStatus status;
  std::optional<platform::HTTPHeaderFields> headers;
  std::optional<platform::Data> body;
  std::optional<platform::Error> error;
  /// Of all but `curlCommand`, from which it was left out already.
  HTTPRedaction redaction = {};
};

/// Writes one debug record to the library's logger, at the level `brief` or `verbose`.
void printDebugOutput(HTTPVerbosityLevel level, const DebugRecord& record);

}  // namespace detail

}  // namespace corvane
