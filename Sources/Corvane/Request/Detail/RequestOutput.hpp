#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Corvane/HTTPStatus.hpp"
#include "Corvane/HTTPVerbosityLevel.hpp"
#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPMethod.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane {
struct ShellCommand;
struct ShellCommandOptions;
}  // namespace corvane

/// What a request writes about itself, for people: compiled once, without the headers of debug output.
namespace corvane::detail {

/// The words of a command line that shows a request: method and URL, the request's own headers, "-v". Traps when there
/// is no URL. What is to be redacted for the configuration's identifier is left out.
CORVANE_API std::vector<std::string> curlCommandParts(const HTTPMethod& method, const URLDescription& target,
                                                      const HTTPHeaders& headers,
                                                      const std::optional<std::string>& configuration);
CORVANE_API std::string curlCommand(const std::vector<std::string>& parts);
/// The same with a summary of the body; absent bytes stand for a body that cannot be made.
CORVANE_API std::string curlCommand(std::vector<std::string> parts, const std::optional<platform::Data>& body);
/// The same for a body that is made while it is sent.
CORVANE_API std::string curlCommandOfStream(std::vector<std::string> parts, std::optional<std::uint64_t> length);
/// The same for a body that is sent from its file.
CORVANE_API std::string curlCommandOfUpload(std::vector<std::string> parts, const platform::URL& file);

/// `file` is the body of an upload from a file, else absent.
CORVANE_API ShellCommand shellCommandOf(const platform::URLRequest& request, const std::optional<platform::URL>& file,
                                        const ShellCommandOptions& options);

/// What debug output says about one exchange. It refers to what the caller holds.
struct ExchangeOutput {
  const HTTPMethod& method;
  const URLDescription& target;
  const std::optional<std::string>& configuration;  ///< the identifier
  const std::string& curlCommand;                   ///< empty unless the output is verbose
  HTTPStatus status;
  const std::optional<platform::HTTPHeaderFields>& headers;
  const std::optional<platform::Data>& body;
  const std::optional<platform::Error>& error;
};

/// The level at this moment.
CORVANE_API HTTPVerbosityLevel currentVerbosity();
/// Writes one debug record to the library's logger, at the level `brief` or `verbose`.
CORVANE_API void printDebugOutput(HTTPVerbosityLevel level, const ExchangeOutput& output);

}  // namespace corvane::detail
