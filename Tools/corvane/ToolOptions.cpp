#include "ToolOptions.hpp"

#include <unistd.h>
#include <Platform/Foundation/FileManager.hpp>
#include <Platform/Security/SecCertificate.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "CommandLine.hpp"
#include "FormSection.hpp"
#include "InputFile.hpp"
#include "TargetURL.hpp"
#include "UsageError.hpp"

using namespace corvane;

namespace {

Data contentsOf(const std::string& path, const std::string& purpose) {
  try {
    return platform::FileManager::contents(path);
  } catch (const Error& error) {
    throw UsageError("cannot read the " + purpose + ": " + error.message());
  }
}

std::string_view trimmed(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(" \t") + 1 - start);
}

HTTPHeaderFields headerFields(const std::vector<std::string>& texts) {
  HTTPHeaderFields fields;
  for (const std::string& text : texts) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) throw UsageError("'" + text + "' is no header field: write 'NAME: VALUE'");
    const std::string_view name = std::string_view(text).substr(0, colon);
    const std::string_view value = trimmed(std::string_view(text).substr(colon + 1));
    const std::string problem = HTTPHeaderFields::problem(name, value);
    if (!problem.empty()) throw UsageError("'" + text + "' is no header field: " + problem);
    fields.add(name, value);
  }
  return fields;
}

HTTPHeaders joined(const HTTPHeaderFields& fields) {
  HTTPHeaders headers;
  HTTPHeaderFields seen;
  for (const auto& [name, value] : fields) {
    if (!seen.contains(name)) headers.set(name, fields.value(name).value_or(value));
    seen.add(name, value);
  }
  return headers;
}

std::optional<std::string> contentTypeAsGiven(const CommandLine& line, const HTTPHeaderFields& fields) {
  return line.contentType ? line.contentType : fields.value("Content-Type");
}

HTTPMediaType contentType(const CommandLine& line, const HTTPHeaderFields& fields) {
  if (const auto given = contentTypeAsGiven(line, fields)) {
    if (!line.formSections.empty() && given->find("boundary=") != std::string::npos)
      throw UsageError("the boundary of a form is chosen when it is made: leave it out of the content type");
    return HTTPMediaType(*given);
  }
  if (!line.formSections.empty()) return HTTPMediaType::multipartFormData;
  if (line.upload) return HTTPMediaType(velisand::mimeType(URL::file(*line.upload)));
  return line.json ? HTTPMediaType::json : HTTPMediaType::applicationOctetStream;
}

/// The last characters before a byte of the text, in quotes.
std::string endOf(std::string_view text, std::size_t position) {
  constexpr std::size_t most = 24;
  text = text.substr(0, position);
  std::size_t start = text.size() > most ? text.size() - most : 0;
  while (start > 0 && start < text.size() && (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U) ++start;
  std::string shown(text.substr(start));
  std::replace_if(shown.begin(), shown.end(), [](unsigned char c) { return c < ' '; }, ' ');
  return "'" + (start > 0 ? "..." + shown : shown) + "'";
}

// What is sent is the text as it was given; only whether it is JSON is found out.
void requireJSON(const std::string& text) {
  if (text.starts_with("\xEF\xBB\xBF")) throw UsageError("--json: a byte-order mark must not be sent (RFC 8259, 8.1)");
  const Data document(text);
  try {
    JSONReader reader(document);
    reader.skip();
    reader.finish();
  } catch (const DecodingError& error) {
    const std::size_t position = error.byteOffset();
    const std::string where = position == 0 ? "at the start" : "after " + endOf(text, position);
    throw UsageError("--json: " + error.message() + " (" + where + ")");
  }
}

std::optional<Data> body(const CommandLine& line) {
  if (line.bodyFile) return contentsOf(*line.bodyFile, "body");
  if (line.data) return Data(*line.data);
  if (!line.json) return std::nullopt;
  requireJSON(*line.json);
  return Data(*line.json);
}

std::vector<URL> targets(const CommandLine& line) {
  std::vector<URL> urls{targetURL(line.url, line.queryItems)};
  for (const std::string& text : line.furtherURLs) urls.push_back(targetURL(text, line.queryItems));
  return urls;
}

std::vector<MultipartFormSection> formSections(const std::vector<std::string>& texts) {
  std::vector<MultipartFormSection> sections;
  for (const std::string& text : texts) sections.push_back(formSection(text));
  return sections;
}

std::optional<URL> uploadedFile(const std::optional<std::string>& path) {
  if (!path) return std::nullopt;
  return inputFile(*path, "file to upload");
}

std::optional<std::string> downloadDirectory(const std::optional<std::string>& path) {
  if (!path) return std::nullopt;
  // With a slash, only a directory will do.
  if (access((*path + "/").c_str(), W_OK | X_OK) == 0) return path;
  throw UsageError("cannot save files in \"" + *path + "\": " + std::strerror(errno));
}

void requireOptionsToFitTheBody(const CommandLine& line) {
  if (line.hasBody() && line.method == "HEAD") throw UsageError("a HEAD request cannot carry a body");
  if (line.download && line.method == "HEAD")
    throw UsageError("the response to a HEAD request has no body to download");
  if (line.upload || !line.formSections.empty()) {
    if (line.gzip) throw UsageError("--gzip is for bodies in memory: give --json, --data or --body-file");
  } else if (!line.hasBody()) {
    if (line.gzip) throw UsageError("--gzip needs a body: give --json, --data or --body-file");
    if (line.contentType) throw UsageError("--content-type needs a body: give --json, --data, --body-file or --upload");
  }
}

// The library skips what it cannot use; a person wants to know.
std::vector<URL> trustedCertificates(const std::vector<std::string>& paths) {
  std::vector<URL> files;
  for (const std::string& path : paths) {
    if (!platform::SecCertificate::createWithData(contentsOf(path, "certificate")))
      throw UsageError("'" + path + "' is not a certificate in DER form");
    files.push_back(URL::file(path));
  }
  return files;
}

HTTPVerbosityLevel verbosityLevel(std::string_view name) {
  if (name == "verbose") return HTTPVerbosityLevel::verbose;
  return name == "brief" ? HTTPVerbosityLevel::brief : HTTPVerbosityLevel::none;
}

}  // namespace

bool ToolOptions::accepts(int statusCode) const {
  const bool isUsual =
      statusCode >= HTTPStatus::success.rawValue() && statusCode <= HTTPStatus::partialContent.rawValue();
  return isUsual ||
         std::find(acceptedStatusCodes.begin(), acceptedStatusCodes.end(), statusCode) != acceptedStatusCodes.end();
}

ToolOptions ToolOptions::from(const CommandLine& line) {
  const HTTPHeaderFields fields = headerFields(line.headers);
  requireOptionsToFitTheBody(line);
  return {.urls = targets(line),
          .method = HTTPMethod(line.method.value_or(line.hasBody() ? "POST" : "GET")),
          .headers = joined(fields),
          .body = ::body(line),
          .bodyFile = line.bodyFile,
          .uploadedFile = ::uploadedFile(line.upload),
          .formSections = ::formSections(line.formSections),
          .contentType = ::contentType(line, fields),
          .acceptType = line.json ? HTTPMediaType::json : HTTPMediaType::any,
          .compressesBody = line.gzip,
          .timeoutInSeconds = line.timeout,
          .trustedCertificates = ::trustedCertificates(line.trustedCertificates),
          .waitsForConnectivity = line.waitForConnectivity,
          .acceptedStatusCodes = line.acceptedStatuses,
          .downloadDirectory = ::downloadDirectory(line.download),
          .outputFile = line.output,
          .printsBodiesAsTheyCame = line.raw,
          .verbosity = verbosityLevel(line.verbosity),
          .printsShellCommand = line.curl,
          .cancelsAfterSeconds = line.cancelAfter,
          .retry = line.retry ? std::optional(retryOption(*line.retry)) : std::nullopt,
          .pollsEverySeconds = line.poll,
          .polls = line.count,
          .repetitions = line.repeat,
          .parallelRequests = line.parallel,
          .reportsJSON = line.report.has_value()};
}
