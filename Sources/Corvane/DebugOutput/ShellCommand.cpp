#include "Corvane/DebugOutput/ShellCommand.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URLComponents.hpp"
#include "Platform/Loading/URLBodyStream.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::detail {

using platform::Data;
using platform::HTTPHeaderFields;
using platform::URLRequest;

namespace {

constexpr std::size_t largestBodyOnCommandLine = 8 * 1024;

// Within single quotes everything is literal but the quote itself (POSIX.1, Shell Command Language, 2.2.2).
std::string shellQuoted(std::string_view text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

const char* secretVariable(std::string_view headerName) {
  if (platform::detail::equalsIgnoringCase(headerName, "Authorization")) return "AUTHORIZATION";
  if (platform::detail::equalsIgnoringCase(headerName, "Proxy-Authorization")) return "PROXY_AUTHORIZATION";
  if (platform::detail::equalsIgnoringCase(headerName, "Cookie")) return "COOKIE";
  return nullptr;
}

std::string header(const HTTPHeaderFields::Field& field, bool hidesSecrets) {
  const auto& [name, value] = field;
  const char* variable = hidesSecrets ? secretVariable(name) : nullptr;
  if (variable) return " -H " + shellQuoted(name + ": ") + "\"$" + variable + "\"";
  // "Name:" would take the field away; "Name;" sends it without a value (curl(1), --header).
  return " -H " + shellQuoted(value.empty() ? name + ";" : name + ": " + value);
}

// Fields that curl adds of its own accord and that this request does not have.
std::string suppressedHeaders(const URLRequest& request, bool hasBody) {
  std::string text;
  const auto suppress = [&](const std::string& name) {
    if (!request.allHTTPHeaderFields.contains(name)) text += " -H " + shellQuoted(name + ":");
  };
  suppress("User-Agent");
  suppress("Accept");
  if (!hasBody) return text;
  suppress("Content-Type");
  suppress("Expect");
  return text;
}

bool fitsOnCommandLine(const Data& body) {
  if (body.count() > largestBodyOnCommandLine || !body.utf8()) return false;
  // A tab would complete a word when it is pasted into an interactive shell.
  const auto isUnsafe = [](char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F; };
  const std::string_view text = body.view();
  return std::none_of(text.begin(), text.end(), isUnsafe);
}

std::string methodOption(const URLRequest& request, std::string_view implied) {
  if (request.httpMethod == implied) return "";
  if (request.httpMethod == "HEAD" && implied == "GET") return " --head";
  return " -X " + shellQuoted(request.httpMethod);
}

// curl reads a leading "@" as the name of a file, and "-" as standard input (curl(1), --data).
std::string inlineBody(std::string_view text) {
  return (text.starts_with('@') ? " --data-raw " : " --data-binary ") + shellQuoted(text);
}

std::string bodyFromFile(const std::string& file) {
  return " --data-binary " + shellQuoted("@" + (file == "-" ? "./-" : file));
}

/// curl holds such a body in memory, but not one of "--upload-file", which changes a URL without a last component:
/// it adds the name of the file (curl(1), --upload-file).
bool isSentAsData(const URLRequest& request) {
  const auto components = platform::URLComponents::make(request.url, true);
  return !components || components->percentEncodedPath.empty() || components->percentEncodedPath.ends_with('/');
}

std::string urlText(const platform::URL& url, bool hidesSecrets) {
  const std::string& text = url.absoluteString();
  const auto components = hidesSecrets ? platform::URLComponents::make(url, true) : std::nullopt;
  if (!components || !components->percentEncodedPassword) return shellQuoted(text);
  const std::string user = components->percentEncodedUser.value_or("") + ":";
  const std::size_t start = text.find("//" + user) + 2 + user.size();
  const std::string_view rest = std::string_view(text).substr(start + components->percentEncodedPassword->size());
  return shellQuoted(text.substr(0, start)) + "\"$URL_PASSWORD\"" + shellQuoted(rest);
}

// What curl would otherwise change: "[1-3]" and "{a,b}" are ranges to it, in the name of a file to upload, too; "/../"
// is taken out of a URL.
std::string urlOptions(const std::string& url, const std::string& uploadedFile = {}) {
  std::string options;
  if ((url + uploadedFile).find_first_of("[]{}") != std::string::npos) options += " --globoff";
  if (url.find("/.") != std::string::npos) options += " --path-as-is";
  return options;
}

/// A method that expects a body is sent with "Content-Length: 0" when it has no body (RFC 9110, 8.6); curl does so when
/// it is given an empty one.
URLRequest withAnnouncedBody(URLRequest request) {
  const std::string& method = request.httpMethod;
  const bool expectsBody = method == "POST" || method == "PUT" || method == "PATCH";
  if (expectsBody && !request.httpBody) request.httpBody = Data();
  if (method == "HEAD") request.httpBody.reset();
  return request;
}

void requireThatItCanBeSent(const URLRequest& request, const std::string& problem) {
  if (!problem.empty()) throw platform::Error(platform::NSURLErrorDomain, platform::URLErrorCode::badURL, problem);
  const std::string scheme = request.url.scheme().value_or("");
  const auto isScheme = [&](std::string_view name) { return platform::detail::equalsIgnoringCase(scheme, name); };
  if (!isScheme("http") && !isScheme("https") && !isScheme("file")) {
    throw platform::Error(platform::NSURLErrorDomain, platform::URLErrorCode::unsupportedURL,
                          "only http, https and file URLs can be loaded, not \"" + scheme + "\"");
  }
  if (request.cachePolicy == platform::URLRequestCachePolicy::returnCacheDataDontLoad) {
    throw platform::Error(platform::NSURLErrorDomain, platform::URLErrorCode::cannotLoadFromNetwork,
                          "the request may be loaded from a cache only");
  }
}

/// Absent for one that cannot be looked at, as one that is made later.
std::optional<std::size_t> sizeOf(const std::string& path) {
  struct stat facts{};
  if (::stat(path.c_str(), &facts) != 0) return std::nullopt;
  return static_cast<std::size_t>(facts.st_size);
}

std::string headers(const URLRequest& request, bool hasBody, const ShellCommandOptions& options) {
  std::string text;
  // The response comes as it was coded, unless curl is told to decode it.
  if (request.allHTTPHeaderFields.contains("Accept-Encoding")) text += " --compressed";
  for (const auto& field : request.allHTTPHeaderFields) text += header(field, options.hidesSecrets);
  return text + suppressedHeaders(request, hasBody);
}

std::string pathOf(const platform::URL& file) {
  if (file.isFileURL()) return file.fileSystemPath();
  throw platform::Error(platform::NSURLErrorDomain, platform::URLErrorCode::unsupportedURL,
                        "'" + file.absoluteString() + "' names no file to upload");
}

/// curl reads standard input to its end for "--data-binary", and announces the length; for "--upload-file" it sends
/// chunks (curl(1)).
ShellCommand shellCommandOfStream(const URLRequest& request, const ShellCommandOptions& options) {
  const bool hasLength = request.httpBodyStream->length().has_value();
  const std::string url = request.url.absoluteString();
  ShellCommand command;
  command.text = "curl" + methodOption(request, hasLength ? "POST" : "PUT") + urlOptions(url) +
                 headers(request, true, options) + (hasLength ? " --data-binary '@-' " : " --upload-file '-' ") +
                 urlText(request.url, options.hidesSecrets);
  return command;
}

}  // namespace

ShellCommand shellCommand(const URLRequest& original, const ShellCommandOptions& options) {
  requireThatItCanBeSent(original, original.problem());
  if (original.httpBodyStream) return shellCommandOfStream(original, options);
  const URLRequest request = withAnnouncedBody(original);
  ShellCommand command;
  command.text = "curl" + methodOption(request, request.httpBody ? "POST" : "GET") +
                 urlOptions(request.url.absoluteString()) + headers(request, request.httpBody.has_value(), options);
  if (request.httpBody) {
    command.body = *request.httpBody;
    if (fitsOnCommandLine(command.body)) {
      command.text += inlineBody(command.body.view());
    } else {
      command.bodyFile = options.bodyFile;
      command.text += bodyFromFile(options.bodyFile);
    }
  }
  command.text += " " + urlText(request.url, options.hidesSecrets);
  return command;
}

ShellCommand shellCommand(const URLRequest& request, const platform::URL& file, const ShellCommandOptions& options) {
  const std::string path = pathOf(file);
  requireThatItCanBeSent(request, request.problem(sizeOf(path)));
  const bool isData = isSentAsData(request);
  ShellCommand command;
  command.text = "curl" + methodOption(request, isData ? "POST" : "PUT") +
                 urlOptions(request.url.absoluteString(), isData ? "" : path) + headers(request, true, options) +
                 (isData ? bodyFromFile(path) : " --upload-file " + shellQuoted(path)) + " " +
                 urlText(request.url, options.hidesSecrets);
  return command;
}

}  // namespace corvane::detail
