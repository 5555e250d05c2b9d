#include "Corvane/Request/Detail/RequestOutput.hpp"

#include <utility>

#include "Corvane/DebugOutput/Detail/HTTPRequestableDebugAdditions.hpp"
#include "Corvane/DebugOutput/Detail/Redactions.hpp"
#include "Corvane/DebugOutput/ShellCommand.hpp"
#include "Corvane/Settings.hpp"

namespace corvane::detail {

std::vector<std::string> curlCommandParts(const HTTPMethod& method, const URLDescription& target,
                                          const HTTPHeaders& headers, const std::optional<std::string>& configuration) {
  return curlCommandParts(method.rawValue, urlForDebugOutput(target), headers, redactionFor(configuration));
}

std::string curlCommand(const std::vector<std::string>& parts) { return joinedWithSpaces(parts); }

std::string curlCommand(std::vector<std::string> parts, const std::optional<platform::Data>& body) {
  parts.push_back(curlBodyPart(body));
  return joinedWithSpaces(parts);
}

std::string curlCommandOfStream(std::vector<std::string> parts, std::optional<std::uint64_t> length) {
  const std::string amount = length ? std::to_string(*length) + " bytes" : "a body of unknown length";
  parts.push_back(" -d [" + amount + ", made while it is sent]");
  return joinedWithSpaces(parts);
}

std::string curlCommandOfUpload(std::vector<std::string> parts, const platform::URL& file) {
  parts.push_back(curlFilePart(file));
  return joinedWithSpaces(parts);
}

ShellCommand shellCommandOf(const platform::URLRequest& request, const std::optional<platform::URL>& file,
                            const ShellCommandOptions& options) {
  return file ? shellCommand(request, *file, options) : shellCommand(request, options);
}

HTTPVerbosityLevel currentVerbosity() { return Corvane::verbosity; }

void printDebugOutput(HTTPVerbosityLevel level, const ExchangeOutput& output) {
  printDebugOutput(level, DebugRecord{.method = output.method.rawValue,
                                      .url = urlForDebugOutput(output.target),
                                      .curlCommand = output.curlCommand,
                                      .status = output.status,
                                      .headers = output.headers,
                                      .body = output.body,
                                      .error = output.error,
                                      .redaction = redactionFor(output.configuration)});
}

}  // namespace corvane::detail
