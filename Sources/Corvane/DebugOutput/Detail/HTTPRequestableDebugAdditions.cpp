#include "Corvane/DebugOutput/Detail/HTTPRequestableDebugAdditions.hpp"

#include <filesystem>
#include <system_error>

#include "Corvane/DebugOutput/Detail/BodyCache.hpp"
#include "Corvane/Detail/ModuleLogger.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

using platform::Data;
using platform::Dictionary;
using platform::HTTPHeaderFields;
using platform::URL;

namespace {

bool wasCancelled(const DebugRecord& record) {
  return record.error && record.error->code() == platform::URLErrorCode::cancelled;
}

std::string statusText(const DebugRecord& record) {
  if (wasCancelled(record)) return "RESPONSE Cancelled";
  std::string text = "RESPONSE status: " + std::to_string(record.status.rawValue());
  if (record.error) text += " error: " + record.redaction.redactedText(record.error->message());
  return text;
}

Dictionary dictionary(const HTTPHeaderFields& fields) {
  Dictionary result;
  for (const auto& [name, value] : fields) result.set(name, fields.value(name).value_or(value));
  return result;
}

Dictionary responseInformation(const DebugRecord& record) {
  Dictionary information;
  information.set("body", httpDebugSummary(record.body));
  if (record.headers && !record.headers->isEmpty())
    information.set("headers", dictionary(record.redaction.redacted(*record.headers)));
  if (record.error)
    information.set("error",
                    wasCancelled(record) ? "Cancelled" : record.redaction.redactedText(record.error->message()));
  return information;
}

Dictionary verboseInformation(const DebugRecord& record) {
  Dictionary information;
  information.set("curl", record.curlCommand);
  information.set("status", std::to_string(record.status.rawValue()) + " (" + std::string(record.status.name()) + ")");
  information.set("response", responseInformation(record));
  return information;
}

void log(std::string message, std::optional<Dictionary> userInfo) {
  moduleLogger().debug(std::move(message), std::move(userInfo), std::nullopt, "", "", 0);
}

}  // namespace

std::vector<std::string> curlCommandParts(const std::string& method, const URL& url, const Dictionary& headers,
                                          const HTTPRedaction& redaction) {
  std::vector<std::string> parts{"curl -X " + method + " '" + redaction.redactedURL(url.absoluteString()) + "'"};
  for (const auto& [name, value] : headers) {
    parts.push_back(" -H \"" + name + ": " + redaction.redactedValue(name, value.description()) + "\"");
  }
  parts.push_back("-v");
  return parts;
}

std::string curlBodyPart(const std::optional<Data>& body) { return " -d " + httpDebugSummary(body); }

std::string curlFilePart(const URL& file) {
  const std::string path = file.fileSystemPath();
  std::error_code problem;
  const std::uintmax_t size = std::filesystem::file_size(path, problem);
  if (!problem && size <= mostBytesShown) {
    if (const auto contents = platform::FileManager::contentsIfReadable(path)) return curlBodyPart(contents);
  }
  return " -d @" + path;
}

std::string joinedWithSpaces(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : " ") + part;
  return text;
}

void printDebugOutput(HTTPVerbosityLevel level, const DebugRecord& record) {
  const std::string url = record.redaction.redactedURL(record.url.absoluteString());
  switch (level) {
    case HTTPVerbosityLevel::none:
      return;
    case HTTPVerbosityLevel::brief:
      return log("REQUEST " + record.method + " '" + url + "' " + statusText(record), std::nullopt);
    case HTTPVerbosityLevel::verbose:
      return log(url, verboseInformation(record));
  }
}

}  // namespace corvane::detail
