#include "ToolOptions.hpp"

#include <sys/stat.h>
#include <unistd.h>
#include <Platform/Foundation/FileManager.hpp>
#include <Platform/Security/SecCertificate.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "ClientSettings.hpp"
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

/// In quotes, without what may be a secret.
std::string beginningOf(const std::string& text, const char* ends) {
  const std::size_t end = text.find_first_of(ends);
  return "'" + (end == std::string::npos ? text : text.substr(0, end) + "...") + "'";
}

HTTPHeaderFields headerFields(const std::vector<std::string>& texts) {
  HTTPHeaderFields fields;
  for (const std::string& text : texts) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos)
      throw UsageError(beginningOf(text, " \t=") + " is no header field: write 'NAME: VALUE'");
    const std::string_view name = std::string_view(text).substr(0, colon);
    const std::string_view value = trimmed(std::string_view(text).substr(colon + 1));
    const std::string problem = HTTPHeaderFields::problem(name, value);
    if (!problem.empty()) throw UsageError("--header: " + problem);
    fields.add(name, value);
  }
  return fields;
}

/// The text, or what the file after "@" has, without its line break.
std::string bearerToken(const std::string& text) {
  if (!text.starts_with('@')) return text;
  std::string token = contentsOf(text.substr(1), "token").text();
  token.erase(token.find_last_not_of("\r\n") + 1);
  return token;
}

/// Adds what has options of its own. A field that was given, too, would be joined with it, or be another identity.
void addCredentials(const CommandLine& line, HTTPHeaderFields& fields) {
  if ((line.user || line.bearer) && fields.contains("Authorization"))
    throw UsageError("give one of the header Authorization, --user and --bearer");
  if (!line.cookies.empty() && fields.contains("Cookie"))
    throw UsageError("give one of the header Cookie and --cookie");
  if (line.bearer) {
    const std::string token = bearerToken(*line.bearer);
    const std::string value = "Bearer " + token;
    if (token.empty() || token.find_first_of(" \t") != std::string::npos ||
        !HTTPHeaderFields::problem("Authorization", value).empty())
      throw UsageError("--bearer: a token is not empty and has no spaces");
    fields.set("Authorization", value);
  }
  std::string cookies;
  for (const std::string& cookie : line.cookies) {
    const std::string problem = HTTPHeaderFields::problem("Cookie", cookie);
    const std::size_t equals = cookie.find('=');
    if (equals == 0 || equals == std::string::npos || cookie.find(';') != std::string::npos || !problem.empty())
      throw UsageError(beginningOf(cookie, "=") + " is no cookie: write NAME=VALUE, without semicolons");
    cookies += (cookies.empty() ? "" : "; ") + cookie;
  }
  if (!cookies.empty()) fields.set("Cookie", cookies);
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
  if (text.starts_with('@'))
    throw UsageError("--json takes the text itself; a file: --body-file FILE --content-type application/json");
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

/// Pipes, devices and links stay what they are, and are written in place; so is a file in a directory where no other
/// may be made. One that may not be written is not replaced either.
bool isReplaceable(const std::string& path) {
  struct stat facts{};
  if (lstat(path.c_str(), &facts) != 0) return true;
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return S_ISREG(facts.st_mode) && access(path.c_str(), W_OK) == 0 &&
         access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

bool isNumberOf(const std::string& name, const std::string& output) {
  return name.size() > output.size() + 1 && name.starts_with(output + ".") &&
         name.find_first_not_of("0123456789", output.size() + 1) == name.npos;
}

/// Looks at what is there, and not for each number that may come.
bool canReplaceOutputs(const ToolOptions& options) {
  if (!options.hasSeveralResponses()) return isReplaceable(*options.outputFile);
  const std::filesystem::path output = *options.outputFile;
  const std::filesystem::path folder = output.has_parent_path() ? output.parent_path() : ".";
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (isNumberOf(entry.path().filename(), output.filename()) && !isReplaceable(entry.path())) return false;
  }
  return true;
}

std::string methodOf(const CommandLine& line) {
  if (line.asksForHead) return "HEAD";
  return line.method.value_or(line.hasBody() ? "POST" : "GET");
}

bool downloadsToOutput(const CommandLine& line, const ToolOptions& options) {
  if (!line.output || line.upload || !line.formSections.empty() || line.poll || methodOf(line) == "HEAD") return false;
  if (canReplaceOutputs(options)) return true;
  if (line.continues || line.digest)
    throw UsageError("--continue and --digest need a regular file that may be replaced for --output");
  return false;
}

void requireNoRange(const CommandLine& line, const HTTPHeaderFields& fields) {
  if (line.continues && fields.contains("Range"))
    throw UsageError("--continue asks for ranges itself: leave out the header Range");
}

std::optional<SHA256Digest> expectedDigest(const std::optional<std::string>& text) {
  constexpr std::string_view kind = "sha256:";
  if (!text) return std::nullopt;
  if (!text->starts_with(kind))
    throw UsageError("'" + *text + "' is no digest: write sha256: and 64 hexadecimal digits");
  try {
    return SHA256Digest(text->substr(kind.size()));
  } catch (const Error& error) {
    throw UsageError("--digest: " + error.message());
  }
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
    const Data content = contentsOf(path, "certificate");
    if (content.text().starts_with("-----BEGIN"))
      throw UsageError("'" + path + "' is in PEM form, and --trust takes DER: openssl x509 -in " + path +
                       " -outform DER -out authority.der");
    if (!platform::SecCertificate::createWithData(content))
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
  return isUsual || (acceptsRedirects && statusCode >= 300 && statusCode < 400) ||
         std::find(acceptedStatusCodes.begin(), acceptedStatusCodes.end(), statusCode) != acceptedStatusCodes.end();
}

std::string ToolOptions::outputPath(int number) const {
  return hasSeveralResponses() ? *outputFile + "." + std::to_string(number) : *outputFile;
}

std::optional<HTTPDownloadDestination> ToolOptions::destination(int number) const {
  if (!downloadsToOutput) return std::nullopt;
  return HTTPDownloadDestination{.path = outputPath(number), .overwrites = true, .resumes = continuesDownload};
}

ToolOptions ToolOptions::from(const CommandLine& line) {
  HTTPHeaderFields fields = headerFields(line.headers);
  addCredentials(line, fields);
  requireOptionsToFitTheBody(line);
  requireNoRange(line, fields);
  ToolOptions options{.urls = targets(line),
                      .method = HTTPMethod(methodOf(line)),
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
                      .clientOptionsForCurl = ::clientOptionsForCurl(line),
                      .acceptedStatusCodes = line.acceptedStatuses,
                      .downloadDirectory = ::downloadDirectory(line.download),
                      .outputFile = line.output,
                      .continuesDownload = line.continues,
                      .expectedDigest = ::expectedDigest(line.digest),
                      .printsHeads = line.includesHead || line.asksForHead,
                      .printsBodiesAsTheyCame = line.raw,
                      .verbosity = verbosityLevel(line.verbosity),
                      .printsShellCommand = line.curl,
                      .cancelsAfterSeconds = line.cancelAfter,
                      .retry = line.retry ? std::optional(retryOption(*line.retry)) : std::nullopt,
                      .pollsEverySeconds = line.poll,
                      .polls = line.count,
                      .repetitions = line.repeat,
                      .parallelRequests = line.parallel,
                      .reportsJSON = line.report.has_value(),
                      .printsTiming = line.timing};
  options.client = clientConfiguration(line, options.urls);
  options.acceptsRedirects = line.follow == "no" || line.follow == "same-origin";
  options.downloadsToOutput = ::downloadsToOutput(line, options);
  return options;
}
