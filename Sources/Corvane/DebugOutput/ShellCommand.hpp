#pragma once

#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane {

/// How a command line is written.
struct ShellCommandOptions {
  /// Whether the values of "Authorization", "Proxy-Authorization" and "Cookie", and a password in the URL, are
  /// replaced by the shell variables AUTHORIZATION, PROXY_AUTHORIZATION, COOKIE and URL_PASSWORD.
  bool hidesSecrets = false;
  /// Where the command looks for a body that does not fit on a command line.
  std::string bodyFile = "request-body";
};

/// A command line for a POSIX shell that sends a request with the command-line client `curl`. That of a file upload
/// refers to the file itself, which is not read.
struct ShellCommand {
  /// One line, safe to paste: every word is quoted.
  std::string text;
  /// The file that has to hold `body` before the command runs; absent when the command line has it all. A body
  /// goes to a file when it is larger than 8 KiB, is not UTF-8, or has control characters.
  std::optional<std::string> bodyFile;
  /// The bytes of the body; empty when there is none, and for an upload of a file.
  platform::Data body;
};

namespace detail {

/// Throws "NSURLErrorDomain" -1000 for a request that would not be sent either (see `URLRequest::problem`).
CORVANE_API ShellCommand shellCommand(const platform::URLRequest& request, const ShellCommandOptions& options);
/// The same for the upload of a file. Throws "NSURLErrorDomain" -1002 for a URL that names no file.
CORVANE_API ShellCommand shellCommand(const platform::URLRequest& request, const platform::URL& file,
                                      const ShellCommandOptions& options);

}  // namespace detail
}  // namespace corvane
